#include "kernels/draw_simd.h"
#include "kernels/vec_avx2.h"
#include "kernels/vec_avx512.h"

namespace pixmorph::kernels {
namespace {

// Rows rarely begin on a 64-byte boundary: where loads outweigh the arithmetic, wider ones only lose.
void DrawRow(const DrawPlan& plan, const DrawRows& rows) {
  // For AVX-512 compilers load the bytes that are looked up by way of mask registers.
  if (plan.tabled) return kDrawAvx2.drawRow(plan, rows);
  DrawRow<VecAvx2, VecAvx512Doubles>(plan, kPackAvx512, rows);
}

}  // namespace

const DrawKernels kDrawAvx512 = {DrawRow};

}  // namespace pixmorph::kernels
