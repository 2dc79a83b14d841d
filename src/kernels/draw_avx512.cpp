#include "kernels/draw_simd.h"
#include "kernels/vec_avx2.h"
#include "kernels/vec_avx512.h"

namespace pixmorph::kernels {
namespace {

// Rows rarely begin on a 64-byte boundary: where loads outweigh the arithmetic, wider ones only lose.
void DrawRow(const DrawPlan& plan, const DrawRows& rows) {
  DrawRow<VecAvx2, VecAvx512Doubles>(plan, kPackAvx512, rows);
}

}  // namespace

const DrawKernels kDrawAvx512 = {DrawRow};

}  // namespace pixmorph::kernels
