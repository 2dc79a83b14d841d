#ifndef PIXMORPH_KERNELS_VEC_LOOKUP_H_
#define PIXMORPH_KERNELS_VEC_LOOKUP_H_

#include <emmintrin.h>

#include <cstdint>

#include "support/numeric.h"

namespace pixmorph::kernels {
namespace {

// Two of a table's entries.
PIXMORPH_INLINE __m128i TwoEntries(const std::uint64_t (&table)[256], std::uint8_t first,
                                   std::uint8_t second) {
  const __m128d low = _mm_castsi128_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(&table[first])));
  return _mm_castpd_si128(_mm_loadh_pd(low, reinterpret_cast<const double*>(&table[second])));
}

// The last 64 bits of `a`, then the first of `b`.
PIXMORPH_INLINE __m128i Across64(__m128i a, __m128i b) {
  return _mm_castpd_si128(_mm_shuffle_pd(_mm_castsi128_pd(a), _mm_castsi128_pd(b), 1));
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_VEC_LOOKUP_H_
