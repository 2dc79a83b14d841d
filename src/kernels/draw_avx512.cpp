#include "kernels/draw_kernel.h"

namespace pixmorph::kernels {

const DrawKernels kDrawAvx512 = {ref::DrawRow};

}  // namespace pixmorph::kernels
