#ifndef PIXMORPH_KERNELS_PIXEL_ROWS_H_
#define PIXMORPH_KERNELS_PIXEL_ROWS_H_

#include <cstddef>
#include <cstdint>

#include "support/numeric.h"

namespace pixmorph::kernels {

// Where a picture's rows lie: at the addresses of a table, or at a distance from each other.
struct PixelRows {
  const std::uint8_t* const* table;  // null: `first` and `strideBytes` count
  const std::uint8_t* first;
  std::int32_t strideBytes;

  // [pure]
  PIXMORPH_INLINE_MEMBER const std::uint8_t* Row(std::int32_t y) const {
    return table ? table[y] : first + static_cast<std::ptrdiff_t>(y) * strideBytes;
  }
};

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_PIXEL_ROWS_H_
