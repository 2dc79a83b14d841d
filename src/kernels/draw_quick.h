#ifndef PIXMORPH_KERNELS_DRAW_QUICK_H_
#define PIXMORPH_KERNELS_DRAW_QUICK_H_

#include "kernels/draw_doubles.h"

// Drawing where no mask hides anything: products by factors, or mere copies. Included by the files of the
// instruction sets only.
namespace pixmorph::kernels {
namespace {

template <class V, bool kShifted>
struct QuickProducts {
  explicit QuickProducts(const DrawPlan& plan) {
    for (int i = 0; i <= kDrawNeighbours; ++i)
      factors[i] = V::Set16(static_cast<std::int16_t>(plan.factors[i]));
    for (int i = 0; i <= kDrawNeighbours; ++i) shifts[i] = V::ShiftCount(plan.shifts[i]);
  }
  PIXMORPH_INLINE_MEMBER V Of(int which, V numbers) const {
    const V high = V::MulHigh16(numbers, factors[which]);
    return kShifted ? V::ShiftRight16(high, shifts[which]) : high;
  }
  PIXMORPH_INLINE_MEMBER void Add(int which, V pixels, V* lo, V* hi) const {
    *lo = V::Add16(*lo, Of(which, V::UnpackLow8(pixels)));
    *hi = V::Add16(*hi, Of(which, V::UnpackHigh8(pixels)));
  }
  V factors[kDrawNeighbours + 1];
  typename V::Count shifts[kDrawNeighbours + 1];
};

template <class V, bool kShifted>
PIXMORPH_INLINE void MixBlock(const QuickProducts<V, kShifted>& products, const DrawSpan& span, V top,
                              std::uint8_t* to) {
  V lo = V::Zero(), hi = V::Zero();
  products.Add(kUpperLeft, V::Load(span.upper), &lo, &hi);
  products.Add(kUpperRight, V::Load(span.upper + 4), &lo, &hi);
  products.Add(kLowerRight, V::Load(span.lower + 4), &lo, &hi);
  products.Add(kLowerLeft, V::Load(span.lower), &lo, &hi);
  products.Add(kDrawNeighbours, V::Load(span.to), &lo, &hi);
  V::WithTops(V::Pack16(lo, hi), top).Store(to);
}

// Out of the way of the loop over whole blocks, which needs all registers.
template <class V, bool kShifted>
__attribute__((noinline)) void MixBlockAside(const DrawPlan& plan, const DrawSpan& span, std::uint8_t* to) {
  MixBlock<V>(QuickProducts<V, kShifted>(plan), span, V::Set32(TopByteMask(plan.destination)), to);
}

template <class V, bool kShifted>
PIXMORPH_INLINE void DrawQuick(const DrawPlan& plan, const DrawSpan& whole, std::int32_t count) {
  if (count < V::kPixels)
    return ForEachBlock<V::kPixels>(
        whole, count, [&plan](const DrawSpan& span) { MixBlockAside<V, kShifted>(plan, span, span.to); });
  const V top = V::Set32(TopByteMask(plan.destination));
  const QuickProducts<V, kShifted> products(plan);
  std::int32_t x = 0;
  for (; x + 2 * V::kPixels <= count; x += V::kPixels) {
    const DrawSpan span = whole.From(x);
    MixBlock(products, span, top, span.to);
  }
  // The last block may overlap the one before: it is made while what was there still is.
  const DrawSpan end = whole.From(count - V::kPixels);
  std::uint8_t last[V::kBytes];
  MixBlockAside<V, kShifted>(plan, end, last);
  const DrawSpan span = whole.From(x);
  MixBlock(products, span, top, span.to);
  memcpy(end.to, last, sizeof last);
}

template <class V>
PIXMORPH_INLINE void DrawCopies(const DrawPlan& plan, const DrawSpan& whole, std::int32_t count) {
  const V top = V::Set32(TopByteMask(plan.destination));
  ForEachBlock<V::kPixels>(
      whole, count, [=](const DrawSpan& span) { V::WithTops(V::Load(span.lower + 4), top).Store(span.to); });
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_QUICK_H_
