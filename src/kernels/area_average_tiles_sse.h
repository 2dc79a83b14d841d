#ifndef PIXMORPH_KERNELS_AREA_AVERAGE_TILES_SSE_H_
#define PIXMORPH_KERNELS_AREA_AVERAGE_TILES_SSE_H_

#include "kernels/area_average_table.h"

namespace pixmorph::kernels {
namespace {

// Eight source pixels. Sums are of two new pixels in each vector; where boxes are four wide, of one, in two
// lanes a channel, but with means of two in the first vector alone. `Ops::RowSums` has what four source
// pixels add to a vector, `Ops::PairSums` adds the two lanes of two vectors.
template <class Ops>
struct Tiles128 {
  struct Sums {
    __m128i a, b;
  };
  static constexpr std::int32_t kBytes = 32;
  static constexpr int kVectors = 1;
  using Division = SmallDivision;

  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static Sums NoSums(const Division&) {
    return {_mm_setzero_si128(), _mm_setzero_si128()};
  }
  template <int kWidth, bool kMeans>
  PIXMORPH_INLINE_MEMBER static Sums AddBytes(Sums sums, const std::uint8_t* p) {
    const auto row = [](const std::uint8_t* from) {
      return Ops::template RowSums<kWidth>(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
    };
    if (kMeans && kWidth == 4) {
      const __m128i halves = _mm_add_epi16(Ops::PairSums(row(p), row(p + 16)), _mm_set1_epi16(2));
      return {_mm_add_epi16(sums.a, _mm_srli_epi16(halves, 2)), sums.b};
    }
    const auto mean = [](__m128i x) { return kMeans ? _mm_avg_epu16(x, _mm_setzero_si128()) : x; };
    sums.a = _mm_add_epi16(sums.a, mean(row(p)));
    sums.b = _mm_add_epi16(sums.b, mean(row(p + 16)));
    return sums;
  }
  template <int kWidth, bool kMeans>
  PIXMORPH_INLINE_MEMBER static void StoreMeans(std::uint8_t* out, const Sums (&sums)[1],
                                                const Division& divide) {
    const __m128i a = sums[0].a, b = sums[0].b;
    if (kWidth == 2) {
      const __m128i pixels = _mm_packus_epi16(divide(a), divide(b));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out), WithTop(pixels, divide.top));
    } else {
      const __m128i means = divide(kMeans ? a : Ops::PairSums(a, b));
      _mm_storel_epi64(reinterpret_cast<__m128i*>(out), WithTop(_mm_packus_epi16(means, means), divide.top));
    }
  }
};

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_AREA_AVERAGE_TILES_SSE_H_
