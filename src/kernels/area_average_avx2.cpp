#include "kernels/area_average_lanes_sse41.h"
#include "kernels/intrinsics.h"

namespace pixmorph::kernels {
namespace {

struct Avx2Lanes {
  using U16 = __m256i;
  static constexpr int kLanes = 16;
  PIXMORPH_INLINE_MEMBER static U16 Widen(const std::uint8_t* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
  }
  PIXMORPH_INLINE_MEMBER static U16 Load(const std::uint16_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint16_t* p, U16 v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
  }
  PIXMORPH_INLINE_MEMBER static U16 Add(U16 a, U16 b) { return _mm256_add_epi16(a, b); }
};

// Eight source pixels. Sums are 16-bit lanes, two a new pixel's channel where boxes are four wide: of which
// the second is 0 with means.
struct Avx2Tiles {
  using Sums = __m256i;
  static constexpr std::int32_t kBytes = 32;
  static constexpr int kVectors = 2;  // that are averaged together
  using Division = SmallDivision;

  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static Sums NoSums(const Division&) {
    return _mm256_setzero_si256();
  }
  template <int kWidth, bool kMeans>
  PIXMORPH_INLINE_MEMBER static Sums AddBytes(Sums sums, const std::uint8_t* p) {
    const __m128i order = kWidth == 2 ? _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15)
                                      : _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const __m256i pixels = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    const __m256i pairs = _mm256_maddubs_epi16(
        _mm256_shuffle_epi8(pixels, _mm256_broadcastsi128_si256(order)), _mm256_set1_epi8(1));
    if (!kMeans) return _mm256_add_epi16(sums, pairs);
    if (kWidth == 2) return _mm256_add_epi16(sums, _mm256_avg_epu16(pairs, _mm256_setzero_si256()));
    const __m256i row = _mm256_madd_epi16(pairs, _mm256_set1_epi16(1));
    return _mm256_add_epi16(sums, _mm256_srli_epi32(_mm256_add_epi32(row, _mm256_set1_epi32(2)), 2));
  }

  template <int kWidth, bool kMeans>
  PIXMORPH_INLINE_MEMBER static void StoreMeans(std::uint8_t* out, const Sums (&sums)[2],
                                                const Division& divide) {
    const Sums a = sums[0], b = sums[1];
    const auto mean = [&divide](__m256i x) {
      const __m256i biased = _mm256_add_epi16(x, _mm256_broadcastsi128_si256(divide.bias));
      const __m256i high = _mm256_mulhi_epu16(biased, _mm256_broadcastsi128_si256(divide.multiplier));
      return _mm256_srl_epi16(high, divide.shift);
    };
    if (kWidth == 2) {
      const __m256i mixed = _mm256_packus_epi16(mean(a), mean(b));
      const __m256i pixels = _mm256_permute4x64_epi64(mixed, _MM_SHUFFLE(3, 1, 2, 0));
      const __m256i colours = _mm256_and_si256(pixels, _mm256_set1_epi32(0x00FFFFFF));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                          _mm256_or_si256(colours, _mm256_broadcastsi128_si256(divide.top)));
    } else {
      const __m256i means = mean(_mm256_permute4x64_epi64(_mm256_hadd_epi16(a, b), _MM_SHUFFLE(3, 1, 2, 0)));
      const __m128i pixels =
          _mm_packus_epi16(_mm256_castsi256_si128(means), _mm256_extracti128_si256(means, 1));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out), WithTop(pixels, divide.top));
    }
  }
};

struct Avx2Pixels {
  using Vec = __m256i;
  static constexpr std::int32_t kPixels = 8, kStreamBytes = 32;
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* out, Vec v) {
    _mm256_stream_si256(reinterpret_cast<Vec*>(out), v);
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint8_t* out, Vec v) {
    _mm256_storeu_si256(reinterpret_cast<Vec*>(out), v);
  }
  PIXMORPH_INLINE_MEMBER static Vec Load(const std::uint8_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const Vec*>(from));
  }
  // New pixels from one load of kPixels source pixels, the first of which is the first start's.
  PIXMORPH_INLINE_MEMBER static Vec Repeated(const std::uint8_t* row, const std::int32_t* starts,
                                             std::uint32_t top) {
    const Vec places = _mm256_sub_epi32(_mm256_loadu_si256(reinterpret_cast<const Vec*>(starts)),
                                        _mm256_set1_epi32(*starts));
    const Vec pixels = _mm256_permutevar8x32_epi32(Load(row + *starts * 4), places);
    const Vec colours = _mm256_and_si256(pixels, _mm256_set1_epi32(0x00FFFFFF));
    return _mm256_or_si256(colours, _mm256_set1_epi32(static_cast<int>(top)));
  }
};

}  // namespace

const AreaAverageKernels kAreaAverageAvx2 = AreaKernelsOf<Avx2Lanes, Sse41Lanes, Avx2Tiles, Sse41Tiles>(
    RepeatPixels<Avx2Pixels>, RepeatRows<Avx2Pixels>, CopyRow<Avx2Pixels>);

}  // namespace pixmorph::kernels
