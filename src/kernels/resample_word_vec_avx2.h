#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_VEC_AVX2_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_VEC_AVX2_H_

#include "kernels/intrinsics.h"
#include "kernels/resample_word_simd.h"

namespace pixmorph::kernels {

namespace {

// Eight 32-bit sums a vector.
struct EightSums {
  using Vec = __m256i;
  static constexpr std::int32_t kSums = 8;
  static constexpr std::ptrdiff_t kBytes = 32;

  using Count = __m128i;
  PIXMORPH_INLINE_MEMBER static Count ShiftCount(std::int32_t n) { return _mm_cvtsi32_si128(n); }

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Vec
  PIXMORPH_OP Set(std::int32_t x) { return _mm256_set1_epi32(x); }
  PIXMORPH_OP Set16(std::int16_t x) { return _mm256_set1_epi16(x); }
  PIXMORPH_OP And(Vec a, Vec b) { return _mm256_and_si256(a, b); }
  PIXMORPH_OP ShiftRight(Vec a, Count n) { return _mm256_sra_epi32(a, n); }
  PIXMORPH_OP Greater16(Vec a, Vec b) { return _mm256_cmpgt_epi16(a, b); }
  PIXMORPH_OP PackSigned32(Vec a, Vec b) { return _mm256_packs_epi32(a, b); }
  PIXMORPH_OP PackSigned16(Vec a, Vec b) { return _mm256_packs_epi16(a, b); }
  PIXMORPH_OP PackUnsigned16(Vec a, Vec b) { return _mm256_packus_epi16(a, b); }
  PIXMORPH_OP LoadWords(const std::uint8_t* p) { return _mm256_load_si256(reinterpret_cast<const Vec*>(p)); }
  PIXMORPH_OP MultiplyAdd(Vec pixels, Vec weights, Vec sums) {
    return _mm256_add_epi32(sums, _mm256_madd_epi16(pixels, weights));
  }
#undef PIXMORPH_OP

  // Bytes as 16-bit words: of each 16 bytes the first and the last eight.
  struct Widened {
    PIXMORPH_INLINE_MEMBER explicit Widened(const std::uint8_t* p)
        : bytes(_mm256_loadu_si256(reinterpret_cast<const Vec*>(p))) {}
    PIXMORPH_INLINE_MEMBER Vec First() const { return _mm256_unpacklo_epi8(bytes, _mm256_setzero_si256()); }
    PIXMORPH_INLINE_MEMBER Vec Second() const { return _mm256_unpackhi_epi8(bytes, _mm256_setzero_si256()); }
    Vec bytes;
  };

  // Of what `WordRounding::Unsure` gives, a bit for each sum.
  PIXMORPH_INLINE_MEMBER static std::uint32_t Bits(Vec bytes) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes));
  }

  // Of 16 columns, the second and the third four change places, so that unpacking, which goes by halves of a
  // vector, leaves pixels in order.
  PIXMORPH_INLINE_MEMBER static std::uint32_t PlaceInBlock(std::uint32_t column) {
    return (column & ~12u) | (column & 4) << 1 | (column & 8) >> 1;
  }
  // Such a bit's column and its place, counted from the block's first. Packing went by halves, too.
  PIXMORPH_INLINE_MEMBER static std::uint32_t ColumnOfBit(std::uint32_t bit) {
    return (bit & 3) | (bit & 12) << 1 | (bit & 16) >> 2;
  }
  PIXMORPH_INLINE_MEMBER static std::uint32_t PlaceOfBit(std::uint32_t bit) {
    return (bit & 7) | (bit & 8) << 1 | (bit & 16) >> 1;
  }

  // Four columns from x on of eight rows to two pairs.
  PIXMORPH_INLINE_MEMBER static void Weave(const std::uint8_t* const* rows, std::int32_t x,
                                           std::uint8_t* out) {
    const Vec a = ByTwos(rows, x), b = ByTwos(rows + 1, x), c = ByTwos(rows + 2, x), d = ByTwos(rows + 3, x);
    StorePair(_mm256_unpacklo_epi16(a, b), _mm256_unpacklo_epi16(c, d), out);
    StorePair(_mm256_unpackhi_epi16(a, b), _mm256_unpackhi_epi16(c, d), out + kPairBytes);
  }

  // Four columns of eight rows to four planes.
  PIXMORPH_INLINE_MEMBER static void StoreRows(Vec bytes, std::uint8_t* out, std::ptrdiff_t stride) {
    const __m128i evenFirst = _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15);
    const Vec planes = _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(evenFirst));
    const auto store = [](__m128i two, std::uint8_t* at, std::ptrdiff_t next) {
      _mm_storel_epi64(reinterpret_cast<__m128i*>(at), two);
      _mm_storeh_pd(reinterpret_cast<double*>(at + next), _mm_castsi128_pd(two));
    };
    store(_mm256_castsi256_si128(planes), out, stride);
    store(_mm256_extracti128_si256(planes, 1), out + 2 * stride, stride);
  }

  // The first `count` pixels of a block from its channels.
  PIXMORPH_INLINE_MEMBER static void StoreBlock(const Vec (&channels)[kChannels], std::uint8_t* out,
                                                std::int32_t count, std::uint32_t top) {
    if (count >= 32) return StorePixels(channels, out, top);
    std::uint8_t pixels[128];
    StorePixels(channels, pixels, top);
    __builtin_memcpy(out, pixels, 4 * static_cast<std::uint32_t>(count));
  }

 private:
  // Of rows 0 and 4 from `rows` on.
  PIXMORPH_INLINE_MEMBER static Vec ByTwos(const std::uint8_t* const* rows, std::int32_t x) {
    const __m128i byTwos = _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(PixelAt(rows[0], x)));
    const __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(PixelAt(rows[4], x)));
    const Vec both = _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
    return _mm256_shuffle_epi8(both, _mm256_broadcastsi128_si256(byTwos));
  }

  // Eight rows of a pair, of which `ab` and `cd` have four each, channel by channel.
  PIXMORPH_INLINE_MEMBER static void StorePair(Vec ab, Vec cd, std::uint8_t* out) {
    const Vec zero = _mm256_setzero_si256(), firstTwo = _mm256_unpacklo_epi32(ab, cd);
    const Vec third = _mm256_unpackhi_epi32(ab, cd);
    _mm256_store_si256(reinterpret_cast<Vec*>(out), _mm256_unpacklo_epi8(firstTwo, zero));
    _mm256_store_si256(reinterpret_cast<Vec*>(out + kRowsBytes), _mm256_unpackhi_epi8(firstTwo, zero));
    _mm256_store_si256(reinterpret_cast<Vec*>(out + 2 * kRowsBytes), _mm256_unpacklo_epi8(third, zero));
  }

  PIXMORPH_INLINE_MEMBER static void StorePixels(const Vec (&channels)[kChannels], std::uint8_t* out,
                                                 std::uint32_t top) {
    const Vec tops = _mm256_set1_epi8(static_cast<char>(top >> 24));
    const auto store = [&out](Vec firstTwo, Vec lastTwo) {
      _mm256_storeu_si256(reinterpret_cast<Vec*>(out), _mm256_unpacklo_epi16(firstTwo, lastTwo));
      _mm256_storeu_si256(reinterpret_cast<Vec*>(out + 32), _mm256_unpackhi_epi16(firstTwo, lastTwo));
      out += 64;
    };
    store(_mm256_unpacklo_epi8(channels[0], channels[1]), _mm256_unpacklo_epi8(channels[2], tops));
    store(_mm256_unpackhi_epi8(channels[0], channels[1]), _mm256_unpackhi_epi8(channels[2], tops));
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_VEC_AVX2_H_
