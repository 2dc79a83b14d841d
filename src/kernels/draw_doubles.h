#ifndef PIXMORPH_KERNELS_DRAW_DOUBLES_H_
#define PIXMORPH_KERNELS_DRAW_DOUBLES_H_

#include <string.h>

#include "kernels/draw_kernel.h"

// Drawing in plain doubles, for any tame weights and for masks. Included by the files of the instruction sets
// only.
namespace pixmorph::kernels {
namespace {

// 32-bit rows from one destination pixel on: sources and masks begin at its left neighbours.
struct DrawSpan {
  std::uint8_t* to;
  const std::uint8_t* upper;  // null: outside the source
  const std::uint8_t* lower;
  const std::uint8_t* upperMask;  // null: no mask
  const std::uint8_t* lowerMask;

  PIXMORPH_INLINE_MEMBER DrawSpan From(std::int32_t pixel) const {
    const auto at = [=](const std::uint8_t* row) { return row ? row + pixel * 4 : nullptr; };
    return {to + pixel * 4, at(upper), at(lower), at(upperMask), at(lowerMask)};
  }
};

// Draws whole vectors by `block(span)`, then what is left of the span in copies that are as long as a vector.
template <int kPixels, class Block>
PIXMORPH_INLINE void ForEachBlock(const DrawSpan& span, std::int32_t count, Block block) {
  std::int32_t x = 0;
  for (; x + kPixels <= count; x += kPixels) block(span.From(x));
  if (x == count) return;
  constexpr int kRoom = (kPixels + 1) * 4;
  std::uint8_t copies[5][kRoom] = {};
  const DrawSpan rest = span.From(x);
  const std::size_t bytes = static_cast<std::size_t>(count - x) * 4;
  const auto copy = [&](int row, const std::uint8_t* from) -> const std::uint8_t* {
    if (!from) return nullptr;
    memcpy(copies[row], from, bytes + 4);
    return copies[row];
  };
  memcpy(copies[0], rest.to, bytes);
  block({copies[0], copy(1, rest.upper), copy(2, rest.lower), copy(3, rest.upperMask),
         copy(4, rest.lowerMask)});
  memcpy(rest.to, copies[0], bytes);
}

// 255 less the mask's red, of 255, times the share; without a mask the share.
template <class D>
PIXMORPH_INLINE D MaskedWeight(const std::uint8_t* mask, double share) {
  if (!mask) return D::Set(share);
  return D::DivideBy255(D::Multiply(D::template InverseChannel<16>(D::LoadPixels(mask)), D::Set(share)));
}

template <class D>
PIXMORPH_INLINE void AddColours(typename D::Pixels pixels, D weight, typename D::Sum& blue,
                                typename D::Sum& green, typename D::Sum& red) {
  blue = D::AddWhole(blue, D::Multiply(D::template Channel<0>(pixels), weight));
  green = D::AddWhole(green, D::Multiply(D::template Channel<8>(pixels), weight));
  red = D::AddWhole(red, D::Multiply(D::template Channel<16>(pixels), weight));
}

// D: a vector of doubles with as many pixels as it has lanes. Each operation rounds as its scalar counterpart
// does.
template <class D>
struct DoubleSums {
  typename D::Sum blue = D::NoSum(), green = D::NoSum(), red = D::NoSum();
  D rest = D::Set(1.0);

  PIXMORPH_INLINE_MEMBER void Take(D weight) { rest = D::Subtract(rest, weight); }
  PIXMORPH_INLINE_MEMBER void AddNeighbour(const std::uint8_t* from, const std::uint8_t* mask, double share) {
    const D weight = MaskedWeight<D>(mask, share);
    AddColours(D::LoadPixels(from), weight, blue, green, red);
    Take(weight);
  }
  // Adds what is left for the destination's own pixels and writes them. Weights above 1 leave less than
  // nothing, which does not count.
  PIXMORPH_INLINE_MEMBER void Finish(std::uint8_t* to, typename D::Pixels top) {
    AddColours(D::LoadPixels(to), D::NotBelow0(rest), blue, green, red);
    D::StorePixels(to, D::Clamped(D::ToInt32(blue), D::ToInt32(green), D::ToInt32(red), top));
  }
};

template <class D>
PIXMORPH_INLINE void DrawDoubles(const DrawPlan& plan, const DrawSpan& whole, std::int32_t count) {
  const typename D::Pixels top = D::SetPixels(TopByteMask(plan.destination) >> 24);
  ForEachBlock<D::kLanes>(whole, count, [&](const DrawSpan& span) {
    DoubleSums<D> sums;
    const auto right = [](const std::uint8_t* mask) { return mask ? mask + 4 : nullptr; };
    if (span.upper) {
      sums.AddNeighbour(span.upper, span.upperMask, plan.weights[kUpperLeft]);
      sums.AddNeighbour(span.upper + 4, right(span.upperMask), plan.weights[kUpperRight]);
    }
    if (span.lower) {
      sums.AddNeighbour(span.lower + 4, right(span.lowerMask), plan.weights[kLowerRight]);
      sums.AddNeighbour(span.lower, span.lowerMask, plan.weights[kLowerLeft]);
    }
    sums.Finish(span.to, top);
  });
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_DOUBLES_H_
