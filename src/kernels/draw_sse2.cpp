#include "kernels/draw_simd.h"
#include "kernels/vec_sse2.h"

namespace pixmorph::kernels {
namespace {

void DrawRow(const DrawPlan& plan, const DrawRows& rows) {
  DrawRow<VecSse2, VecSse2Doubles>(plan, kPackSse2, rows);
}

}  // namespace

const DrawKernels kDrawSse2 = {DrawRow};

}  // namespace pixmorph::kernels
