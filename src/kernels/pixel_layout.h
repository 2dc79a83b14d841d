#ifndef PIXMORPH_KERNELS_PIXEL_LAYOUT_H_
#define PIXMORPH_KERNELS_PIXEL_LAYOUT_H_

#include <cstdint>

#include "support/numeric.h"

// The pixel layouts that kernels read and write, as policies.
namespace pixmorph::kernels {

enum class PixelLayout : std::uint8_t {
  kNone,   // not a layout: reads as black, writes nothing
  kBgrx0,  // one 32-bit word, blue in bits 0-7; top byte ignored when read, written as 0
  kBgrxF,  // the same with the top byte written as 0xFF
  kRgb24,  // three bytes: red, green, blue
};

struct Rgb {
  std::uint8_t red, green, blue;
};

template <std::uint8_t kTop>
struct Packed32 {
  static constexpr int kBytes = 4;
  static constexpr std::uint8_t kTopByte = kTop;
  PIXMORPH_INLINE_MEMBER static Rgb Load(const std::uint8_t* p) { return {p[2], p[1], p[0]}; }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint8_t* p, Rgb c) {
    p[0] = c.blue;
    p[1] = c.green;
    p[2] = c.red;
    p[3] = kTop;
  }
};
using Bgrx0 = Packed32<0x00>;
using BgrxF = Packed32<0xFF>;

struct Rgb24 {
  static constexpr int kBytes = 3;
  PIXMORPH_INLINE_MEMBER static Rgb Load(const std::uint8_t* p) { return {p[0], p[1], p[2]}; }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint8_t* p, Rgb c) {
    p[0] = c.red;
    p[1] = c.green;
    p[2] = c.blue;
  }
};

// Bytes from one pixel to the next; 0 for kNone. [pure]
PIXMORPH_INLINE std::int32_t BytesPerPixel(PixelLayout layout) {
  return layout == PixelLayout::kRgb24 ? 3 : layout == PixelLayout::kNone ? 0 : 4;
}

// The top byte that writing a 32-bit pixel of this layout gives it. [pure]
PIXMORPH_INLINE std::uint32_t TopByteMask(PixelLayout layout) {
  return layout == PixelLayout::kBgrxF ? 0xFF000000u : 0u;
}

// One pixel by run-time layout: the plain scalar paths and the conversions between layouts. [pure]
PIXMORPH_INLINE Rgb LoadPixel(PixelLayout layout, const std::uint8_t* p) {
  switch (layout) {
    case PixelLayout::kRgb24: return Rgb24::Load(p);
    case PixelLayout::kNone: return {0, 0, 0};
    default: return Bgrx0::Load(p);
  }
}

PIXMORPH_INLINE void StorePixel(PixelLayout layout, std::uint8_t* p, Rgb c) {
  switch (layout) {
    case PixelLayout::kRgb24: Rgb24::Store(p, c); break;
    case PixelLayout::kBgrx0: Bgrx0::Store(p, c); break;
    case PixelLayout::kBgrxF: BgrxF::Store(p, c); break;
    case PixelLayout::kNone: break;
  }
}

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_PIXEL_LAYOUT_H_
