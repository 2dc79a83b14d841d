#include "kernels/draw_kernel.h"

namespace pixmorph::kernels {

const DrawKernels kDrawAvx2 = {ref::DrawRow};

}  // namespace pixmorph::kernels
