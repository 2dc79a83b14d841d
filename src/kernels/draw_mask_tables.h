#ifndef PIXMORPH_KERNELS_DRAW_MASK_TABLES_H_
#define PIXMORPH_KERNELS_DRAW_MASK_TABLES_H_

#include "kernels/draw_kernel.h"

namespace pixmorph::kernels {

// What a mask makes of a drawing's weights: for each neighbour and each value that hides, from 0 to 255.
struct MaskTables {
  // As four 16-bit numbers: three times the factor of the weight that is left, and 0; or where it has no
  // factor three times 0, and 65535.
  std::uint64_t factors[kDrawNeighbours][256];
  // The destination's share where nothing is hidden, in 2^-kRestBits; and by how much more it is for each
  // unit that hides a neighbour, in 2^-kUnitBits. Too small, by less than 2^-16 / 500 for any mask. Of the
  // upper and of the lower row, the left neighbour's in the low half: all but the last kLowBits bits, and
  // these.
  static constexpr std::int32_t kRestBits = 29, kUnitBits = 36, kLowBits = 15;
  std::int32_t rest;
  std::uint32_t high[2], low[2];
};

// False when the weights don't suit: more than 1 altogether, or below 0.
bool FillMaskTables(const double (&weights)[kDrawNeighbours], MaskTables* tables);

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_MASK_TABLES_H_
