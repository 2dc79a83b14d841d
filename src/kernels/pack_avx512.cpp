#include "kernels/pack_simd.h"
#include "kernels/vec_avx2.h"

namespace pixmorph::kernels {

// Rows of three bytes a pixel have no better use for wider vectors than their two halves.
const PackKernels kPackAvx512 = PackOver<VecAvx2>::kTable;

}  // namespace pixmorph::kernels
