#ifndef PIXMORPH_KERNELS_DRAW_MASKED_H_
#define PIXMORPH_KERNELS_DRAW_MASKED_H_

#include <type_traits>

#include "kernels/draw_halfway.h"
#include "kernels/draw_mask_tables.h"
#include "kernels/draw_redo.h"

// Drawing through a mask by its tables. The destination's own part is estimated with 16 bits for the
// fraction, too small by less than the colour and half a unit: its whole part can only be wrong where adding
// the colour to the fraction leaves no 0 bit in it. Included by the files of the instruction sets only.
namespace pixmorph::kernels {
namespace {

// Sums of truncated products: of each 16 bytes the first and the last two pixels, unpacked. Where a weight
// has no factor the fourth number is 254 or more.
template <class V>
struct MaskedSums {
  V low = V::Zero(), high = V::Zero();

  PIXMORPH_INLINE_MEMBER void Add(const std::uint8_t* from, const std::uint8_t* mask,
                                  const std::uint64_t (&factors)[256]) {
    constexpr int kRed = 2;
    const V pixels = V::Or(V::Load(from), V::Set32(0xFF000000));
    const V lowFactors = V::template LookUp<true>(mask + kRed, factors);
    low = V::Add16(low, V::MulHigh16(V::UnpackLow8(pixels), lowFactors));
    const V highFactors = V::template LookUp<false>(mask + kRed, factors);
    high = V::Add16(high, V::MulHigh16(V::UnpackHigh8(pixels), highFactors));
  }
  PIXMORPH_INLINE_MEMBER void Add(const MaskedSums& other) {
    low = V::Add16(low, other.low), high = V::Add16(high, other.high);
  }
};

// What hides pixels: the numbers of 16 bits in each 32-bit lane are those of two neighbours.
template <class V>
PIXMORPH_INLINE V HiddenPairs(const std::uint8_t* first, const std::uint8_t* second) {
  return V::Or(V::And(V::ShiftRight32(V::Load(first), 16), V::Set32(0x000000FF)),
               V::And(V::Load(second), V::Set32(0x00FF0000)));
}

// By how much two neighbours that are hidden raise the destination's share, for each unit: in 2^-kUnitBits,
// the first neighbour's in the low half.
template <class V>
struct HiddenWeights {
  HiddenWeights(std::uint32_t highBits, std::uint32_t lowBits)
      : high(V::Set32(highBits)), low(V::Set32(lowBits)) {}

  // In 2^-kRestBits.
  PIXMORPH_INLINE_MEMBER V Of(V pairs) const {
    constexpr int kFiner = MaskTables::kUnitBits - MaskTables::kRestBits;
    return V::Add32(V::ShiftLeft32(V::AddPairs16(V::Zero(), pairs, high), MaskTables::kLowBits - kFiner),
                    V::ShiftRight32(V::AddPairs16(V::Zero(), pairs, low), kFiner));
  }

  V high, low;
};

// The destination's share of each pixel, in 2^-kRestBits; may be below 0.
template <class V>
class MaskedShares {
 public:
  MaskedShares(const MaskTables& tables, const DrawSpan&)
      : rest_(V::Set32(static_cast<std::uint32_t>(tables.rest))),
        upper_(tables.high[0], tables.low[0]),
        lower_(tables.high[1], tables.low[1]) {}

  PIXMORPH_INLINE_MEMBER V Next(const std::uint8_t* upper, const std::uint8_t* lower) {
    const V above = upper_.Of(HiddenPairs<V>(upper, upper + 4));
    return V::Add32(V::Add32(rest_, above), lower_.Of(HiddenPairs<V>(lower, lower + 4)));
  }

 private:
  V rest_;
  HiddenWeights<V> upper_, lower_;
};

// The same where left and right neighbours weigh the same, from left to right: each column is looked at once.
template <class V>
class HalfwayShares {
 public:
  HalfwayShares(const MaskTables& tables, const DrawSpan& span)
      : rest_(V::Set32(static_cast<std::uint32_t>(tables.rest))),
        columns_(Both(tables.high), Both(tables.low)),
        before_(V::FirstEverywhere32(columns_.Of(HiddenPairs<V>(span.upperMask, span.lowerMask)))) {}

  PIXMORPH_INLINE_MEMBER V Next(const std::uint8_t* upper, const std::uint8_t* lower) {
    const V right = columns_.Of(HiddenPairs<V>(upper + 4, lower + 4));
    const V left = V::Before32(before_, right);
    before_ = right;
    return V::Add32(V::Add32(rest_, left), right);
  }

 private:
  // Of the upper and the lower row.
  static std::uint32_t Both(const std::uint32_t (&rows)[2]) { return (rows[0] & 0xFFFF) | rows[1] << 16; }

  V rest_;
  HiddenWeights<V> columns_;
  V before_;
};

// All bits set in the 16-bit lanes where the whole part of colours * factors may be one too small.
template <class V>
PIXMORPH_INLINE V UnsureProducts(V colours, V factors) {
  const V fractions = V::MulLow16(colours, factors);
  return V::Equal16(V::AddSaturated16(fractions, colours), V::Set16(-1));
}

// Adds the destination's own part of the pixels `old`. Bits of bytes: set where it may be wrong.
template <class V>
PIXMORPH_INLINE std::uint32_t AddRest(V old, V shares, MaskedSums<V>& sums) {
  const V once = V::ShiftRight32(V::NotNegative32(shares), MaskTables::kRestBits - 16);
  const V factors = V::Or(once, V::ShiftLeft32(once, 16)), colours = V::And(old, V::Set32(0x00FFFFFF));
  const V low = V::UnpackLow8(colours), lowFactors = V::template Twice32<true>(factors);
  const V high = V::UnpackHigh8(colours), highFactors = V::template Twice32<false>(factors);
  sums.Add({V::MulHigh16(low, lowFactors), V::MulHigh16(high, highFactors)});
  return V::Signs8(V::PackSigned16(UnsureProducts(low, lowFactors), UnsureProducts(high, highFactors)));
}

// What the block of source columns `at` bytes behind the span's first gives to the destination columns that
// have it on their right.
template <class V>
PIXMORPH_INLINE MaskedSums<V> RightSums(const MaskTables& tables, const DrawSpan& span, std::ptrdiff_t at) {
  MaskedSums<V> sums;
  sums.Add(span.upper + at, span.upperMask + at, tables.factors[kUpperRight]);
  sums.Add(span.lower + at, span.lowerMask + at, tables.factors[kLowerRight]);
  return sums;
}

template <class V, class D, bool kHalfway>
PIXMORPH_INLINE void DrawByTables(const DrawPlan& plan, const DrawSpan& span, std::int32_t count) {
  if (count < V::kPixels) return DrawDoubles<D>(plan, span, count);
  const MaskTables& tables = *plan.maskTables;
  std::conditional_t<kHalfway, HalfwayShares<V>, MaskedShares<V>> shares(tables, span);
  const V top = V::Set32(TopByteMask(plan.destination));
  PixelsToRedo<V, D> redo(plan, span);
  // Where left and right neighbours weigh the same: the columns before, the last one in the last place.
  V before = V::Zero();
  if (kHalfway) before = V::FirstEverywhere64(RightSums<V>(tables, span, 0).low);
  std::int32_t x = 0;
  for (; x + V::kPixels <= count; x += V::kPixels) {
    const std::ptrdiff_t at = 4 * static_cast<std::ptrdiff_t>(x);
    MaskedSums<V> sums = RightSums<V>(tables, span, at + 4);
    if (kHalfway) {
      const V last = sums.high;
      sums.Add({V::LowBefore64(before, sums.low, sums.high), V::HighBefore64(sums.low, sums.high)});
      before = last;
    } else {
      sums.Add(span.upper + at, span.upperMask + at, tables.factors[kUpperLeft]);
      sums.Add(span.lower + at, span.lowerMask + at, tables.factors[kLowerLeft]);
    }
    const V old = V::Load(span.to + at);
    const std::uint32_t unsure = AddRest(old, shares.Next(span.upperMask + at, span.lowerMask + at), sums);
    const V pixels = V::Pack16(sums.low, sums.high);
    redo.Add(x, old, (unsure & 0x77777777) | (V::Signs8(pixels) & 0x88888888));
    V::WithTops(pixels, top).Store(span.to + at);
  }
  redo.DrawKept();
  if (x < count) DrawDoubles<D>(plan, span.From(x), count - x);
}

// Pixels by pixels that a mask shows or hides as a whole; both are frequent.
enum class Cover { kHidden, kShown, kMixed };

constexpr std::int32_t kCoverPixels = 16;

// Of as many destination pixels, which have as many left neighbours and one right neighbour more.
template <class V>
PIXMORPH_INLINE Cover CoverOf(const DrawSpan& span) {
  // Most of what is mixed shows at once.
  const std::uint8_t first = span.upperMask[2];
  if (first != 0 && first != 255) return Cover::kMixed;
  V any = V::Zero(), notAll = V::Zero();
  const V red = V::Set32(0x00FF0000);
  const std::uint8_t* const masks[] = {span.upperMask, span.lowerMask};
  for (const std::uint8_t* mask : masks) {
    for (std::int32_t x = 0; x <= kCoverPixels; x += V::kPixels) {
      const V pixels = V::Load(mask + 4 * (x < kCoverPixels ? x : kCoverPixels + 1 - V::kPixels));
      any = V::Or(any, pixels);
      notAll = V::Or(notAll, V::Xor(pixels, red));
    }
  }
  if (!V::AnyOf(any, red)) return Cover::kShown;
  return V::AnyOf(notAll, red) ? Cover::kMixed : Cover::kHidden;
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_MASKED_H_
