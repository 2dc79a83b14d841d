#ifndef PIXMORPH_KERNELS_PIXELS_SSE_H_
#define PIXMORPH_KERNELS_PIXELS_SSE_H_

#include <emmintrin.h>

#include <cstddef>
#include <cstdint>

#include "support/numeric.h"

// Four 32-bit pixels in a register.
namespace pixmorph::kernels {
namespace {

// Those at columns counted from `from`, each by a load of its own.
PIXMORPH_INLINE __m128i GatherPixels(const std::uint8_t* from, const std::int32_t* columns) {
  const auto at = [from, columns](int n) {
    return _mm_loadu_si32(from + 4 * static_cast<std::ptrdiff_t>(columns[n]));
  };
  const __m128i low = _mm_unpacklo_epi32(at(0), at(1)), high = _mm_unpacklo_epi32(at(2), at(3));
  return _mm_unpacklo_epi64(low, high);
}

// With another top byte, which `top` has four times.
PIXMORPH_INLINE __m128i WithTop(__m128i pixels, __m128i top) {
  return _mm_or_si128(_mm_and_si128(pixels, _mm_set1_epi32(0x00FFFFFF)), top);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_PIXELS_SSE_H_
