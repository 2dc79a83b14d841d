#ifndef PIXMORPH_SCALING_SOURCE_PIXELS_H_
#define PIXMORPH_SCALING_SOURCE_PIXELS_H_

#include <cstdint>

#include "kernels/pixel_layout.h"
#include "kernels/pixel_rows.h"
#include "picture/editor.h"

namespace pixmorph {

// Pixels that stay where they are while rows are made of them.
struct SourcePixels {
  kernels::PixelRows rows;
  kernels::PixelLayout layout;
  std::int32_t width;   // pixels, 1 and above
  std::int32_t height;  // pixels, 1 and above
};

// The pixels that a reader has locked; valid until it is cleared. [pure]
inline SourcePixels SourcePixelsOf(const PictureReader& reader) {
  const bool byTable = reader.pixelType == kPixelHostRGB32;
  return {{byTable ? reader.rowTable : nullptr, reader.base, reader.rowBytes},
          reader.Layout(),
          reader.width,
          reader.height};
}

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_SOURCE_PIXELS_H_
