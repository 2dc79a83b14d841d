#include "kernels/pack_simd.h"
#include "kernels/vec_sse41.h"

namespace pixmorph::kernels {

const PackKernels kPackSse41 = PackOver<VecSse41>::kTable;

}  // namespace pixmorph::kernels
