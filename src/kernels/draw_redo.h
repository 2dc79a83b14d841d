#ifndef PIXMORPH_KERNELS_DRAW_REDO_H_
#define PIXMORPH_KERNELS_DRAW_REDO_H_

#include "kernels/draw_doubles.h"

namespace pixmorph::kernels {
namespace {

// Pixels of a span that doubles have to draw once more. They are kept for later: drawing them at once would
// often mislead the processor about the way that the loop goes, and few fill a vector of doubles. With them
// is kept what was there before.
template <class V, class D>
class PixelsToRedo {
 public:
  PixelsToRedo(const DrawPlan& plan, const DrawSpan& span) : plan_(plan), span_(span) {}

  // Of the span's pixels from x on, which were `old`, those with one of their four bits set.
  PIXMORPH_INLINE_MEMBER void Add(std::int32_t x, V old, std::uint32_t bits) {
    if (count_ == kMost) DrawKept();
    old.Store(old_[count_]);
    places_[count_] = x, bits_[count_] = bits;
    count_ += bits != 0 ? 1 : 0;
  }

  // Draws all that are kept.
  __attribute__((noinline)) void DrawKept() {
    Mixed mixed;
    int pixels = 0;
    for (int n = 0; n < count_;) {
      const int pixel = __builtin_ctz(bits_[n]) / 4;
      mixed.Take(pixels++, span_.From(places_[n] + pixel), old_[n] + 4 * pixel);
      bits_[n] &= ~(0xFu << (4 * pixel));
      n += bits_[n] == 0 ? 1 : 0;
      if (pixels == kMost) Draw(mixed, pixels), pixels = 0;
    }
    if (pixels > 0) Draw(mixed, pixels);
    count_ = 0;
  }

 private:
  static constexpr int kMost = 32;
  static constexpr int kOld = 2 * kDrawNeighbours;

  // What pixels mix: the neighbours, their masks, what was there before. Whole vectors are read from the last
  // ones on.
  struct Mixed {
    std::uint8_t pixels[kOld + 1][kMost + D::kLanes][4];
    std::uint8_t* to[kMost];

    PIXMORPH_INLINE_MEMBER void Take(int n, const DrawSpan& at, const std::uint8_t* old) {
      const auto take = [this, n](int row, const std::uint8_t* from) { memcpy(pixels[row][n], from, 4); };
      take(kUpperLeft, at.upper), take(kUpperRight, at.upper + 4);
      take(kLowerLeft, at.lower), take(kLowerRight, at.lower + 4);
      take(kDrawNeighbours + kUpperLeft, at.upperMask), take(kDrawNeighbours + kUpperRight, at.upperMask + 4);
      take(kDrawNeighbours + kLowerLeft, at.lowerMask), take(kDrawNeighbours + kLowerRight, at.lowerMask + 4);
      take(kOld, old);
      to[n] = at.to;
    }
  };

  void Draw(Mixed& mixed, int count) const {
    const typename D::Pixels top = D::SetPixels(TopByteMask(plan_.destination) >> 24);
    // Vectors are read whole; what is behind the last pixel may be anything.
    for (auto& row : mixed.pixels) memset(row[count], 0, sizeof row[0] * D::kLanes);
    for (int n = 0; n < count; n += D::kLanes) {
      DoubleSums<D> sums;
      for (int i = 0; i < kDrawNeighbours; ++i)
        sums.AddNeighbour(mixed.pixels[i][n], mixed.pixels[kDrawNeighbours + i][n], plan_.weights[i]);
      sums.Finish(mixed.pixels[kOld][n], top);
    }
    for (int n = 0; n < count; ++n) memcpy(mixed.to[n], mixed.pixels[kOld][n], 4);
  }

  const DrawPlan& plan_;
  const DrawSpan& span_;
  int count_ = 0;
  std::int32_t places_[kMost];
  std::uint32_t bits_[kMost];
  std::uint8_t old_[kMost][V::kBytes];
};

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_REDO_H_
