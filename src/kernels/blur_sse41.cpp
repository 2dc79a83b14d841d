#include "kernels/blur_simd.h"
#include "kernels/vec_sse41.h"

namespace pixmorph::kernels {

const BlurKernels kBlurSse41 = BlurOver<VecSse41>::kTable;

}  // namespace pixmorph::kernels
