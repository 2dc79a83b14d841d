#include "kernels/pack_simd.h"
#include "kernels/vec_avx2.h"

namespace pixmorph::kernels {

const PackKernels kPackAvx2 = PackOver<VecAvx2>::kTable;

}  // namespace pixmorph::kernels
