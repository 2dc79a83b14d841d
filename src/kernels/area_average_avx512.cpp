#include "kernels/area_average_simd.h"
#include "kernels/area_average_tiles.h"
#include "kernels/intrinsics.h"

namespace pixmorph::kernels {
namespace {

struct Avx512Lanes {
  using U16 = __m512i;
  static constexpr int kLanes = 32;
  PIXMORPH_INLINE_MEMBER static U16 Widen(const std::uint8_t* p) {
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
  }
  PIXMORPH_INLINE_MEMBER static U16 Load(const std::uint16_t* p) {
    return _mm512_loadu_si512(reinterpret_cast<const __m512i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint16_t* p, U16 v) {
    _mm512_storeu_si512(reinterpret_cast<__m512i*>(p), v);
  }
  PIXMORPH_INLINE_MEMBER static U16 Add(U16 a, U16 b) { return _mm512_add_epi16(a, b); }
};

// Sixteen source pixels. Sums are 16-bit lanes where boxes are two wide, 32-bit ones where they are four
// wide.
struct Avx512Tiles {
  using Sums = __m512i;
  static constexpr std::int32_t kBytes = 64;
  using Division = SmallDivision;

  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static Sums PairSums(const std::uint8_t* p) {
    const __m128i order = kWidth == 2 ? _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15)
                                      : _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const __m512i pixels = _mm512_loadu_si512(p);
    return _mm512_maddubs_epi16(_mm512_shuffle_epi8(pixels, _mm512_broadcast_i32x4(order)),
                                _mm512_set1_epi8(1));
  }
  PIXMORPH_INLINE_MEMBER static Sums Add(Sums a, Sums b) { return _mm512_add_epi16(a, b); }

  PIXMORPH_INLINE_MEMBER static __m512i Means(__m512i sums, const Division& divide) {
    const __m512i biased = _mm512_add_epi16(sums, _mm512_broadcast_i32x4(divide.bias));
    return _mm512_srl_epi16(_mm512_mulhi_epu16(biased, _mm512_broadcast_i32x4(divide.multiplier)),
                            divide.shift);
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint8_t* out, __m256i pixels, const Division& divide) {
    const __m256i colours = _mm256_and_si256(pixels, _mm256_set1_epi32(0x00FFFFFF));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                        _mm256_or_si256(colours, _mm256_broadcastsi128_si256(divide.top)));
  }

  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static void StoreMeans(std::uint8_t* out, Sums a, Sums b, const Division& divide) {
    if (kWidth == 2) {
      Store(out, _mm512_cvtepi16_epi8(Means(a, divide)), divide);
      Store(out + 32, _mm512_cvtepi16_epi8(Means(b, divide)), divide);
    } else {
      // Channel sums of 32 bits, all below 2^16: even 16-bit lanes hold them.
      const __m512i ones = _mm512_set1_epi16(1);
      const __m256i low = _mm512_cvtepi32_epi16(_mm512_madd_epi16(a, ones));
      const __m256i high = _mm512_cvtepi32_epi16(_mm512_madd_epi16(b, ones));
      const __m512i sums = _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
      Store(out, _mm512_cvtepi16_epi8(Means(sums, divide)), divide);
    }
  }
};

struct Avx512Pixels {
  // Half a vector: full ones were measured a third slower when they pass the caches.
  static constexpr std::int32_t kStreamBytes = 32;
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* out, const std::uint8_t* from) {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(out),
                        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
  }
  // New pixels from one load of kPixels source pixels, the first of which is the first start's.
  static constexpr std::int32_t kPixels = 16;
  PIXMORPH_INLINE_MEMBER static void RepeatSome(std::uint8_t* out, const std::uint8_t* from,
                                                const std::int32_t* starts, std::uint32_t top) {
    const __m512i places = _mm512_sub_epi32(_mm512_loadu_si512(starts), _mm512_set1_epi32(*starts));
    const __m512i pixels = _mm512_permutexvar_epi32(places, _mm512_loadu_si512(from));
    const __m512i colours = _mm512_and_si512(pixels, _mm512_set1_epi32(0x00FFFFFF));
    _mm512_storeu_si512(out, _mm512_or_si512(colours, _mm512_set1_epi32(static_cast<int>(top))));
  }
};

}  // namespace

const AreaAverageKernels kAreaAverageAvx512 = {AddRows<Avx512Lanes>,
                                               AddSums,
                                               AverageSmall,
                                               AverageLarge,
                                               AverageTotals,
                                               CanTile,
                                               AverageTiles<Avx512Tiles>,
                                               RepeatPixels<Avx512Pixels>,
                                               CopyRow<Avx512Pixels>,
                                               FinishCopies};

}  // namespace pixmorph::kernels
