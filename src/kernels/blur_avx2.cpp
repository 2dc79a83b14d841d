#include "kernels/blur_simd.h"
#include "kernels/vec_avx2.h"

namespace pixmorph::kernels {

const BlurKernels kBlurAvx2 = BlurOver<VecAvx2>::kTable;

}  // namespace pixmorph::kernels
