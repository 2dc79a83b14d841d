#ifndef PIXMORPH_KERNELS_SMOOTH_ENLARGE_SPREAD_H_
#define PIXMORPH_KERNELS_SMOOTH_ENLARGE_SPREAD_H_

#include "kernels/smooth_enlarge_planar.h"

// The steps in the other order, for enlargements that make several rows of each source row: a source row is
// interpolated along itself once, then rows are mixed, which gathers nothing. A wide line holds, for each
// vector of new pixels, a vector per channel, with the half that rounds already added.
//
// In float each product and sum rounds a value below 2^24 by at most half a unit (of 65536 to the byte).
// Along the row there are four, which the rows' weights of together 1 average; then four more: at most 4, and
// less where steps are fused. The definition's own floats, two products and a sum, err by at most 1.5, and
// truncation takes less than one: the result is within 6.5 of the definition's. Where it lies within 8 of a
// multiple of 65536 the channel is evaluated by the definition.
namespace pixmorph::kernels {
namespace {

constexpr float kSpreadMargin = 8.0f;
constexpr std::int32_t kSpreadRiskyIfZero = 0xFFF0;

template <class V>
void SpreadLine(float* wide, const float* line, const SmoothColumns& columns, bool withTop) {
  const std::ptrdiff_t plane = SmoothPlaneFloats(columns.sourceWidth);
  const int channels = withTop ? 4 : 3;
  for (std::int32_t x = 0; x < columns.count; x += V::kLanes, wide += V::kLanes * 4) {
    const typename V::Places places = V::PlacesAt(columns.index + x);
    const typename V::F weight0 = V::LoadF(columns.weight0 + x), weight1 = V::LoadF(columns.weight1 + x);
    const typename V::F half = V::SetF(kHalf);
    const float* from = line;
    for (int channel = 0; channel < channels; ++channel, from += plane) {
      typename V::F near, far;
      V::Neighbours(from, places, &near, &far);
      V::StoreF(wide + channel * V::kLanes, V::MulAdd(far, weight1, V::MulAdd(near, weight0, half)));
    }
  }
}

template <class V>
struct MixAt {
  typename V::F weight0, weight1;  // of the upper and the lower row
  typename V::F addend;
  typename V::I riskyIfZero;
};

template <class V, Watch kWatch>
PIXMORPH_INLINE MixAt<V> LoadMix(const SmoothMix& mix, const SmoothColumns& columns, std::int32_t x) {
  MixAt<V> at;
  at.weight0 = V::SetF(mix.weight0);
  at.weight1 = V::SetF(mix.weight1);
  at.addend = V::SetF(kSpreadMargin);
  at.riskyIfZero = V::SetI(kSpreadRiskyIfZero);
  if (kWatch == Watch::kInexactColumns) {
    const typename V::I exact = V::LoadI(columns.exactMask + x);
    at.riskyIfZero = V::Or(at.riskyIfZero, exact);
    at.addend = V::Select(exact, V::SetF(0.0f), at.addend);
  }
  return at;
}

template <class V, Watch kWatch>
PIXMORPH_INLINE typename V::I MixedValues(const float* upper, const float* lower, const MixAt<V>& at) {
  const typename V::F samples = V::LoadF(upper);
  const typename V::F first =
      kWatch == Watch::kNone ? V::Mul(samples, at.weight0) : V::MulAdd(samples, at.weight0, at.addend);
  return V::Truncate(V::MulAdd(V::LoadF(lower), at.weight1, first));
}

// One channel of a vector of new pixels by the definition: rows first, rounded after each step.
template <class V>
__attribute__((noinline)) typename V::I DefinedValues(const SmoothMix& mix, const SmoothColumns& columns,
                                                      std::int32_t x, int channel) {
  const std::ptrdiff_t plane = SmoothPlaneFloats(columns.sourceWidth) * channel;
  const typename V::Places places = V::PlacesAt(columns.index + x);
  const typename V::F weight0 = V::SetF(mix.weight0), weight1 = V::SetF(mix.weight1);
  const auto blended = [&](typename V::F above, typename V::F below) {
    return V::Add(V::Mul(above, weight0), V::Mul(below, weight1));
  };
  typename V::F near, far, nearBelow, farBelow;
  V::Neighbours(mix.upperLine + plane, places, &near, &far);
  V::Neighbours(mix.lowerLine + plane, places, &nearBelow, &farBelow);
  return V::TruncateInDouble(blended(near, nearBelow), V::LoadF(columns.weight0 + x), blended(far, farBelow),
                             V::LoadF(columns.weight1 + x), double{kHalf});
}

template <class V, Watch kWatch, bool kTop>
PIXMORPH_INLINE typename V::I MixedPixels(const SmoothMix& mix, const SmoothColumns& columns, std::int32_t x,
                                          typename V::I commonTop) {
  const MixAt<V> at = LoadMix<V, kWatch>(mix, columns, x);
  const float* upper = mix.upperWide + static_cast<std::ptrdiff_t>(x) * 4;
  const float* lower = mix.lowerWide + static_cast<std::ptrdiff_t>(x) * 4;
  typename V::I blue = MixedValues<V, kWatch>(upper, lower, at);
  typename V::I green = MixedValues<V, kWatch>(upper + V::kLanes, lower + V::kLanes, at);
  typename V::I red = MixedValues<V, kWatch>(upper + V::kLanes * 2, lower + V::kLanes * 2, at);
  typename V::I top =
      kTop ? MixedValues<V, kWatch>(upper + V::kLanes * 3, lower + V::kLanes * 3, at) : commonTop;
  if (kWatch != Watch::kNone && V::AnyZero(at.riskyIfZero, blue, green, red, kTop ? top : red)) {
    blue = DefinedValues<V>(mix, columns, x, 0);
    green = DefinedValues<V>(mix, columns, x, 1);
    red = DefinedValues<V>(mix, columns, x, 2);
    if (kTop) top = DefinedValues<V>(mix, columns, x, 3);
  }
  return V::Weave(blue, green, red, top);
}

template <class V, Watch kWatch, bool kTop>
PIXMORPH_INLINE void MixLinesOf(std::uint8_t* out, const SmoothMix& mix, const SmoothColumns& columns) {
  const typename V::I commonTop = V::SetI(mix.top * 65536);
  std::int32_t x = 0;
  for (; x + V::kLanes <= columns.count; x += V::kLanes)
    V::StoreI(out + x * 4, MixedPixels<V, kWatch, kTop>(mix, columns, x, commonTop));
  if (x < columns.count)
    V::StoreSome(out + x * 4, MixedPixels<V, kWatch, kTop>(mix, columns, x, commonTop), columns.count - x);
}

template <class V, Watch kWatch>
PIXMORPH_INLINE void MixLinesOf(std::uint8_t* out, const SmoothMix& mix, const SmoothColumns& columns) {
  if (mix.top < 0) {
    MixLinesOf<V, kWatch, true>(out, mix, columns);
  } else {
    MixLinesOf<V, kWatch, false>(out, mix, columns);
  }
}

template <class V>
void MixLines(std::uint8_t* out, const SmoothMix& mix, const SmoothColumns& columns) {
  if (columns.clear || (mix.exact && columns.allExact)) return MixLinesOf<V, Watch::kNone>(out, mix, columns);
  if (mix.exact) return MixLinesOf<V, Watch::kInexactColumns>(out, mix, columns);
  MixLinesOf<V, Watch::kAll>(out, mix, columns);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_SMOOTH_ENLARGE_SPREAD_H_
