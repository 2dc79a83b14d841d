#include "kernels/area_average_lanes_sse41.h"
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

struct Avx512Division {
  explicit Avx512Division(const AreaColumns& columns)
      : bias(columns.divisor.bias),
        multiplier(_mm512_set1_epi16(static_cast<short>(columns.divisor.multiplier))),
        shift(_mm_cvtsi32_si128(columns.divisor.shift)),
        top(_mm512_set1_epi32(static_cast<int>(columns.top))) {}
  PIXMORPH_INLINE_MEMBER __m512i operator()(__m512i biased) const {
    return _mm512_srl_epi16(_mm512_mulhi_epu16(biased, multiplier), shift);
  }
  PIXMORPH_INLINE_MEMBER void Store(std::uint8_t* out, __m512i pixels) const {
    _mm512_storeu_si512(out, _mm512_ternarylogic_epi32(pixels, _mm512_set1_epi32(0x00FFFFFF), top, 0xEA));
  }
  int bias;
  __m512i multiplier;
  __m128i shift;
  __m512i top;
};

// Sixteen source pixels. Sums have their bias from the start; they are 16-bit lanes where boxes are two wide,
// 32-bit ones where they are four wide.
struct Avx512Tiles {
  using Sums = __m512i;
  static constexpr std::int32_t kBytes = 64;
  static constexpr int kVectors = 4;  // that are averaged together
  using Division = Avx512Division;

  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static Sums NoSums(const Division& divide) {
    return kWidth == 2 ? _mm512_set1_epi16(static_cast<short>(divide.bias)) : _mm512_set1_epi32(divide.bias);
  }
  template <int kWidth, bool kMeans>
  PIXMORPH_INLINE_MEMBER static Sums AddBytes(Sums sums, const std::uint8_t* p) {
    const __m128i order = kWidth == 2 ? _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15)
                                      : _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    const __m512i bytes = _mm512_shuffle_epi8(_mm512_loadu_si512(p), _mm512_broadcast_i32x4(order));
    const __m512i ones = _mm512_set1_epi8(1);
    if (kWidth == 2) {
      const __m512i row = _mm512_maddubs_epi16(bytes, ones);
      return _mm512_add_epi16(sums, kMeans ? _mm512_avg_epu16(row, _mm512_setzero_si512()) : row);
    }
    if (!kMeans) return _mm512_dpbusd_epi32(sums, bytes, ones);
    return _mm512_add_epi32(sums,
                            _mm512_srli_epi32(_mm512_dpbusd_epi32(_mm512_set1_epi32(2), bytes, ones), 2));
  }

  template <int kWidth, bool kMeans>
  PIXMORPH_INLINE_MEMBER static void StoreMeans(std::uint8_t* out, const Sums (&sums)[4],
                                                const Division& divide) {
    if (kWidth == 2) {
      const __m512i inOrder = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
      for (int n = 0; n < 4; n += 2, out += 64) {
        const __m512i pixels = _mm512_packus_epi16(divide(sums[n]), divide(sums[n + 1]));
        divide.Store(out, _mm512_permutexvar_epi64(inOrder, pixels));
      }
    } else {
      // All sums are below 2^16.
      const __m512i inOrder = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
      const __m512i low = divide(_mm512_packus_epi32(sums[0], sums[1]));
      const __m512i high = divide(_mm512_packus_epi32(sums[2], sums[3]));
      divide.Store(out, _mm512_permutexvar_epi32(inOrder, _mm512_packus_epi16(low, high)));
    }
  }
};

struct Avx512Pixels {
  using Vec = __m512i;
  static constexpr std::int32_t kPixels = 16;
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* out, Vec v) {
    _mm512_stream_si512(reinterpret_cast<Vec*>(out), v);
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint8_t* out, Vec v) { _mm512_storeu_si512(out, v); }
  PIXMORPH_INLINE_MEMBER static Vec Load(const std::uint8_t* from) { return _mm512_loadu_si512(from); }
  // New pixels from one load of kPixels source pixels, the first of which is the first start's.
  PIXMORPH_INLINE_MEMBER static Vec Repeated(const std::uint8_t* row, const std::int32_t* starts,
                                             std::uint32_t top) {
    const Vec places = _mm512_sub_epi32(_mm512_loadu_si512(starts), _mm512_set1_epi32(*starts));
    const Vec pixels = _mm512_permutexvar_epi32(places, Load(row + *starts * 4));
    const Vec colours = _mm512_and_si512(pixels, _mm512_set1_epi32(0x00FFFFFF));
    return _mm512_or_si512(colours, _mm512_set1_epi32(static_cast<int>(top)));
  }
};

// Of a row that is copied: full vectors were measured a third slower.
struct HalfVectors {
  using Vec = __m256i;
  static constexpr std::int32_t kStreamBytes = 32;
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* out, Vec v) {
    _mm256_stream_si256(reinterpret_cast<Vec*>(out), v);
  }
  PIXMORPH_INLINE_MEMBER static Vec Load(const std::uint8_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const Vec*>(from));
  }
};

}  // namespace

const AreaAverageKernels kAreaAverageAvx512 = AreaKernelsOf<Avx512Lanes, Sse41Lanes, Avx512Tiles, Sse41Tiles>(
    RepeatPixels<Avx512Pixels>, RepeatRows<Avx512Pixels>, CopyRow<HalfVectors>);

}  // namespace pixmorph::kernels
