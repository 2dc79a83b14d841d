#include <smmintrin.h>

#include "kernels/area_average_simd.h"
#include "kernels/area_average_tiles.h"

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

// Four source pixels. Sums are 16-bit lanes, two a new pixel's channel where boxes are four wide.
struct Sse41Tiles {
  using Sums = __m128i;
  static constexpr std::int32_t kBytes = 16;
  static constexpr int kVectors = 2;  // that are averaged together
  using Division = SmallDivision;

  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static Sums NoSums(const Division&) {
    return _mm_setzero_si128();
  }
  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static Sums AddBytes(Sums sums, const std::uint8_t* p) {
    const __m128i order = kWidth == 2 ? _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15)
                                      : _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    return _mm_add_epi16(sums, _mm_maddubs_epi16(_mm_shuffle_epi8(pixels, order), _mm_set1_epi8(1)));
  }

  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static void StoreMeans(std::uint8_t* out, const Sums (&sums)[2],
                                                const Division& divide) {
    const Sums a = sums[0], b = sums[1];
    if (kWidth == 2) {
      const __m128i pixels = _mm_packus_epi16(divide(a), divide(b));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out), WithTop(pixels, divide.top));
    } else {
      const __m128i means = divide(_mm_hadd_epi16(a, b));
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out), WithTop(_mm_packus_epi16(means, means), divide.top));
    }
  }
};

}  // namespace

const AreaAverageKernels kAreaAverageSse41 = {
    AddRows<Sse41Lanes>, AddSums,    AverageSmall,        AverageLarge,
    AverageTotals,       DivideSums, CanTile<Sse41Tiles>, AverageTiles<Sse41Tiles>,
    RepeatEachPixel,     nullptr,    CopyRow<Pixels128>,  FinishCopies};

}  // namespace pixmorph::kernels
