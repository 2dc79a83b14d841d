#include "kernels/blur_simd.h"
#include "kernels/vec_avx2.h"
#include "kernels/vec_avx512.h"

namespace pixmorph::kernels {

// Source rows rarely begin on a 64-byte boundary, and loads across one cost more than the wider sums save.
const BlurKernels kBlurAvx512 = BlurOver<VecAvx2, VecAvx512>::kTable;

}  // namespace pixmorph::kernels
