#ifndef PIXMORPH_KERNELS_RESAMPLE_QUAD_SLOTS_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUAD_SLOTS_AVX512_H_

#include <cstddef>
#include <cstdint>

#include "support/numeric.h"

// Slots hold four intermediate rows woven together. They go by blocks of 16 columns, each channel by channel:
// in every column the bytes of the four rows. So one 32-bit word is a quad of vertical taps. A pixel's top
// byte is nobody's and takes no part in the second pass.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kBlock = 16;           // columns
constexpr std::ptrdiff_t kChannelBytes = 64;  // of a block
constexpr std::ptrdiff_t kBlockBytes = 3 * kChannelBytes;

// Where a column is in a slot.
PIXMORPH_INLINE std::ptrdiff_t PlaceOf(std::int32_t column) {
  return column / kBlock * kBlockBytes + 4 * (column % kBlock);
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUAD_SLOTS_AVX512_H_
