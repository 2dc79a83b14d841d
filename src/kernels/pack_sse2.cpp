#include "kernels/pack_simd.h"
#include "kernels/vec_sse2.h"

namespace pixmorph::kernels {

const PackKernels kPackSse2 = PackOver<VecSse2>::kTable;

}  // namespace pixmorph::kernels
