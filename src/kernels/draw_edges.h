#ifndef PIXMORPH_KERNELS_DRAW_EDGES_H_
#define PIXMORPH_KERNELS_DRAW_EDGES_H_

#include "kernels/draw_doubles.h"

// The destination columns beside a source's left and right edges, which have one neighbour a row: one pixel
// at a time. Included by the files of the instruction sets only.
namespace pixmorph::kernels {
namespace {

// What the vectors of doubles are, with one lane.
struct OneDouble {
  using Self = OneDouble;
  using Pixels = std::uint32_t;
  using Sum = std::int32_t;
  static constexpr int kLanes = 1;
  double r;

  PIXMORPH_INLINE_MEMBER static Self Set(double v) { return {v}; }
  PIXMORPH_INLINE_MEMBER static Self Multiply(Self a, Self b) { return {a.r * b.r}; }
  PIXMORPH_INLINE_MEMBER static Self Subtract(Self a, Self b) { return {a.r - b.r}; }
  PIXMORPH_INLINE_MEMBER static Self NotBelow0(Self a) { return {a.r > 0 ? a.r : 0.0}; }
  PIXMORPH_INLINE_MEMBER static Self DivideBy255(Self a) { return {a.r / 255}; }

  PIXMORPH_INLINE_MEMBER static Pixels LoadPixels(const std::uint8_t* p) {
    Pixels pixel = 0;
    memcpy(&pixel, p, sizeof pixel);
    return pixel;
  }
  PIXMORPH_INLINE_MEMBER static void StorePixels(std::uint8_t* p, Pixels pixel) {
    memcpy(p, &pixel, sizeof pixel);
  }
  template <int kShift>
  PIXMORPH_INLINE_MEMBER static Self Channel(Pixels pixel) {
    return {static_cast<double>(static_cast<std::int32_t>(pixel >> kShift & 0xFF))};
  }
  template <int kShift>
  PIXMORPH_INLINE_MEMBER static Self InverseChannel(Pixels pixel) {
    return Channel<kShift>(~pixel);
  }

  PIXMORPH_INLINE_MEMBER static Sum NoSum() { return 0; }
  PIXMORPH_INLINE_MEMBER static Sum AddWhole(Sum sum, Self a) { return sum + TruncateInRange(a.r); }
  PIXMORPH_INLINE_MEMBER static Sum ToInt32(Sum sum) { return sum; }
  PIXMORPH_INLINE_MEMBER static Pixels Clamped(Sum blue, Sum green, Sum red, Pixels top) {
    return Byte(blue) | Byte(green) << 8 | Byte(red) << 16 | top << 24;
  }

 private:
  PIXMORPH_INLINE_MEMBER static Pixels Byte(Sum x) {
    return static_cast<Pixels>(x < 0 ? 0 : x < 255 ? x : 255);
  }
};

// Destination columns `begin` to `end` - 1, with sources and masks of 32-bit pixels and tame weights.
void DrawEdge(const DrawPlan& plan, const DrawRows& rows, std::int32_t begin, std::int32_t end) {
  for (std::int32_t x = begin; x < end; ++x) {
    const std::int64_t column = static_cast<std::int64_t>(x) - plan.left;
    DoubleSums<OneDouble> sums;
    const auto add = [&](const std::uint8_t* row, const std::uint8_t* mask, std::int64_t at, int which) {
      if (!row || at < 0 || at >= plan.sourceWidth) return;
      const std::ptrdiff_t bytes = 4 * static_cast<std::ptrdiff_t>(at);
      sums.AddNeighbour(row + bytes, plan.masked ? mask + bytes : nullptr, plan.weights[which]);
    };
    add(rows.upper, rows.upperMask, column - 1, kUpperLeft);
    add(rows.upper, rows.upperMask, column, kUpperRight);
    add(rows.lower, rows.lowerMask, column, kLowerRight);
    add(rows.lower, rows.lowerMask, column - 1, kLowerLeft);
    sums.Finish(rows.destination + 4 * static_cast<std::ptrdiff_t>(x), TopByteMask(plan.destination) >> 24);
  }
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_EDGES_H_
