#ifndef PIXMORPH_KERNELS_AREA_AVERAGE_LANES_SSE41_H_
#define PIXMORPH_KERNELS_AREA_AVERAGE_LANES_SSE41_H_

#include <smmintrin.h>

#include "kernels/area_average_tiles_sse.h"

// Sums of 16 bytes a vector: what SSE4.1 has, and what levels with wider vectors take for rows that come from
// memory, where they were measured a sixth faster than those. (In the caches they are slower by half.)
// Probably a loop of few wide instructions asks for more lines ahead at once than the processor can wait for.
namespace pixmorph::kernels {
namespace {

struct Sse41Lanes {
  using U16 = __m128i;
  static constexpr int kLanes = 8;
  PIXMORPH_INLINE_MEMBER static U16 Widen(const std::uint8_t* p) {
    return _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
  }
  PIXMORPH_INLINE_MEMBER static U16 Load(const std::uint16_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint16_t* p, U16 v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
  }
  PIXMORPH_INLINE_MEMBER static U16 Add(U16 a, U16 b) { return _mm_add_epi16(a, b); }
};

// Two lanes of a channel stand side by side.
struct Sse41TileOps {
  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static __m128i RowSums(__m128i pixels) {
    const __m128i order = kWidth == 2 ? _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15)
                                      : _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    return _mm_maddubs_epi16(_mm_shuffle_epi8(pixels, order), _mm_set1_epi8(1));
  }
  PIXMORPH_INLINE_MEMBER static __m128i PairSums(__m128i a, __m128i b) { return _mm_hadd_epi16(a, b); }
};

using Sse41Tiles = Tiles128<Sse41TileOps>;

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_AREA_AVERAGE_LANES_SSE41_H_
