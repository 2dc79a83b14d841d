#include "kernels/draw_simd.h"
#include "kernels/vec_avx512.h"

namespace pixmorph::kernels {
namespace {

void DrawRow(const DrawPlan& plan, const DrawRows& rows) {
  DrawRow<VecAvx512, VecAvx512Doubles>(plan, kPackAvx512, rows);
}

}  // namespace

const DrawKernels kDrawAvx512 = {DrawRow};

}  // namespace pixmorph::kernels
