#include "kernels/blur_simd.h"
#include "kernels/vec_avx512.h"

namespace pixmorph::kernels {

const BlurKernels kBlurAvx512 = BlurOver<VecAvx512>::kTable;

}  // namespace pixmorph::kernels
