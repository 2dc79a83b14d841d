#ifndef PIXMORPH_PICTURE_PIXEL_FORMAT_H_
#define PIXMORPH_PICTURE_PIXEL_FORMAT_H_

#include <cstdint>

#include "kernels/pixel_layout.h"

namespace pixmorph {

// Editor pixel types. The table has 17 codes; an editor only ever produces these four.
constexpr std::int32_t kPixelHostRGB32 = 8;      // rows of a runtime bitmap, top byte written as 0
constexpr std::int32_t kPixelRGB24 = 11;         // GdkPixbuf copy or a writer's own buffer: red, green, blue
constexpr std::int32_t kPixelCairoAlpha32 = 14;  // cairo surface of a picture with an alpha channel
constexpr std::int32_t kPixelCairoRGB32 = 15;    // cairo surface of a picture without one

// Bytes per pixel and the byte offsets of the colours inside one pixel.
struct PixelTypeRow {
  std::int32_t bytesPerPixel;
  std::int32_t redOffset;
  std::int32_t greenOffset;
  std::int32_t blueOffset;
};

// The row for a pixel type code; all zeros for a code outside 0 .. 16. [pure]
const PixelTypeRow& PixelTypeInfo(std::int32_t pixelType);

// The kernels' view of a pixel type; kPixelLayoutNone for any code that is not one of the four. The only
// place where a pixel type is turned into a layout. [pure]
kernels::PixelLayout LayoutOf(std::int32_t pixelType);

}  // namespace pixmorph

#endif  // PIXMORPH_PICTURE_PIXEL_FORMAT_H_
