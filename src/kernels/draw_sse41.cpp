#include "kernels/draw_kernel.h"

namespace pixmorph::kernels {

const DrawKernels kDrawSse41 = {ref::DrawRow};

}  // namespace pixmorph::kernels
