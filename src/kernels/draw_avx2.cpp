#include "kernels/draw_simd.h"
#include "kernels/vec_avx2.h"

namespace pixmorph::kernels {
namespace {

void DrawRow(const DrawPlan& plan, const DrawRows& rows) {
  DrawRow<VecAvx2, VecAvx2Doubles>(plan, kPackAvx2, rows);
}

}  // namespace

const DrawKernels kDrawAvx2 = {DrawRow};

}  // namespace pixmorph::kernels
