#ifndef PIXMORPH_KERNELS_DRAW_HALFWAY_H_
#define PIXMORPH_KERNELS_DRAW_HALFWAY_H_

#include "kernels/draw_doubles.h"

// Drawing half a pixel to the right: left and right neighbours weigh the same, so that what a source column
// gives to the destination columns on both its sides is the same, and is made once.
namespace pixmorph::kernels {
namespace {

PIXMORPH_INLINE bool IsHalfway(const DrawPlan& plan, const DrawSpan& span) {
  return span.upper && span.lower && plan.weights[kUpperLeft] == plan.weights[kUpperRight] &&
         plan.weights[kLowerLeft] == plan.weights[kLowerRight];
}

// What the upper and the lower pixels of as many source columns as D has lanes give.
template <class D>
struct DrawnColumns {
  D upper, lower;  // weights
  typename D::Sum blue = D::NoSum(), green = D::NoSum(), red = D::NoSum();

  PIXMORPH_INLINE_MEMBER DrawnColumns(const DrawPlan& plan, const DrawSpan& span)
      : upper(MaskedWeight<D>(span.upperMask, plan.weights[kUpperRight])),
        lower(MaskedWeight<D>(span.lowerMask, plan.weights[kLowerRight])) {
    AddColours(D::LoadPixels(span.upper), upper, blue, green, red);
    AddColours(D::LoadPixels(span.lower), lower, blue, green, red);
  }
};

// The first pixel of each row in all lanes.
template <class D>
PIXMORPH_INLINE DrawnColumns<D> FirstColumn(const DrawPlan& plan, const DrawSpan& span) {
  std::uint8_t copies[4][D::kLanes * 4];
  const auto repeat = [&copies](int row, const std::uint8_t* from) -> const std::uint8_t* {
    if (!from) return nullptr;
    for (int i = 0; i < D::kLanes; ++i) memcpy(copies[row] + i * 4, from, 4);
    return copies[row];
  };
  return {plan,
          {nullptr, repeat(0, span.upper), repeat(1, span.lower), repeat(2, span.upperMask),
           repeat(3, span.lowerMask)}};
}

template <class D>
PIXMORPH_INLINE void DrawHalfway(const DrawPlan& plan, const DrawSpan& whole, std::int32_t count) {
  const typename D::Pixels top = D::SetPixels(TopByteMask(plan.destination) >> 24);
  DrawnColumns<D> left = FirstColumn<D>(plan, whole);
  ForEachBlock<D::kLanes>(whole, count, [&](const DrawSpan& span) {
    const DrawnColumns<D> right(plan, span.From(1));
    DoubleSums<D> sums;
    sums.blue = D::AddSums(D::Before(left.blue, right.blue), right.blue);
    sums.green = D::AddSums(D::Before(left.green, right.green), right.green);
    sums.red = D::AddSums(D::Before(left.red, right.red), right.red);
    sums.Take(D::Before(left.upper, right.upper));
    sums.Take(right.upper);
    sums.Take(right.lower);
    sums.Take(D::Before(left.lower, right.lower));
    left = right;
    sums.Finish(span.to, top);
  });
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_HALFWAY_H_
