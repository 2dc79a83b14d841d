#include "kernels/draw_kernel.h"

namespace pixmorph::kernels {

const DrawKernels kDrawSse2 = {ref::DrawRow};

}  // namespace pixmorph::kernels
