#include "kernels/draw_simd.h"
#include "kernels/vec_sse41.h"

namespace pixmorph::kernels {
namespace {

void DrawRow(const DrawPlan& plan, const DrawRows& rows) {
  DrawRow<VecSse41, VecSse41Doubles>(plan, kPackSse41, rows);
}

}  // namespace

const DrawKernels kDrawSse41 = {DrawRow};

}  // namespace pixmorph::kernels
