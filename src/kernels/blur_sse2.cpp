#include "kernels/blur_simd.h"
#include "kernels/vec_sse2.h"

namespace pixmorph::kernels {

const BlurKernels kBlurSse2 = BlurOver<VecSse2>::kTable;

}  // namespace pixmorph::kernels
