#ifndef PIXMORPH_KERNELS_DRAW_MASKED_H_
#define PIXMORPH_KERNELS_DRAW_MASKED_H_

#include "kernels/draw_halfway.h"
#include "kernels/draw_mask_tables.h"
#include "kernels/draw_redo.h"

// Drawing through a mask by its tables. The destination's own part is estimated with eight bits for the
// fraction, by less than one unit too small, so that its whole part can only be wrong where the fraction has
// no 0 bit. Included by the files of the instruction sets only.
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

// The destination's own part.
template <class V>
class MaskedRest {
 public:
  explicit MaskedRest(const MaskTables& tables) : rest_(V::Set32(static_cast<std::uint32_t>(tables.rest))) {
    for (int row = 0; row < 2; ++row)
      high_[row] = V::Set32(tables.high[row]), low_[row] = V::Set32(tables.low[row]);
  }

  // Adds it for the pixels `old`. Bits of bytes: set where it may be wrong.
  PIXMORPH_INLINE_MEMBER std::uint32_t Add(V old, const std::uint8_t* upperMask,
                                           const std::uint8_t* lowerMask, MaskedSums<V>& sums) const {
    const V factors = Factors(upperMask, lowerMask), whole = V::Set16(0xFF);
    const V colours = V::And(old, V::Set32(0x00FFFFFF));
    const V low =
        V::MulHigh16(V::template Unpack8Times256<true>(colours), V::template Twice32<true>(factors));
    const V high =
        V::MulHigh16(V::template Unpack8Times256<false>(colours), V::template Twice32<false>(factors));
    sums.Add({V::ShiftRight16(low, 8), V::ShiftRight16(high, 8)});
    return V::Signs8(
        V::PackSigned16(V::Equal16(V::And(low, whole), whole), V::Equal16(V::And(high, whole), whole)));
  }

 private:
  // Of each pixel's two neighbours in one row what hides them, the left one in the low half.
  PIXMORPH_INLINE_MEMBER static V Hidden(const std::uint8_t* mask) {
    return V::Or(V::And(V::ShiftRight32(V::Load(mask), 16), V::Set32(0x000000FF)),
                 V::And(V::Load(mask + 4), V::Set32(0x00FF0000)));
  }
  // In 2^-16, in both halves of 32-bit lanes.
  PIXMORPH_INLINE_MEMBER V Factors(const std::uint8_t* upperMask, const std::uint8_t* lowerMask) const {
    const V upper = Hidden(upperMask), lower = Hidden(lowerMask);
    const V high = V::AddPairs16(V::AddPairs16(V::Zero(), upper, high_[0]), lower, high_[1]);
    const V low = V::AddPairs16(V::AddPairs16(V::Zero(), upper, low_[0]), lower, low_[1]);
    constexpr int kFiner = MaskTables::kUnitBits - MaskTables::kRestBits;
    const V more =
        V::Add32(V::ShiftLeft32(high, MaskTables::kLowBits - kFiner), V::ShiftRight32(low, kFiner));
    const V factors = V::ShiftRight32(V::NotNegative32(V::Add32(rest_, more)), MaskTables::kRestBits - 16);
    return V::Or(factors, V::ShiftLeft32(factors, 16));
  }

  V rest_;
  V high_[2], low_[2];
};

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
  const MaskTables& tables = *plan.maskTables;
  const MaskedRest<V> rest(tables);
  const V top = V::Set32(TopByteMask(plan.destination));
  PixelsToRedo<V, D> redo(plan, span);
  // Where left and right neighbours weigh the same: the columns before, the last one in the last place.
  V before = V::Zero();
  if (kHalfway && count >= V::kPixels) before = V::FirstEverywhere64(RightSums<V>(tables, span, 0).low);
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
    const std::uint32_t unsure = rest.Add(old, span.upperMask + at, span.lowerMask + at, sums);
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
