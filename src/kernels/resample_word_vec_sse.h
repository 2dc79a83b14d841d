#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_VEC_SSE_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_VEC_SSE_H_

#include <emmintrin.h>

#include "kernels/resample_word_simd.h"

namespace pixmorph::kernels {

namespace {

// Four 32-bit sums a vector. `Level` has what is done better where SSE4.1 is there.
template <class Level>
struct FourSums {
  using Vec = __m128i;
  static constexpr std::int32_t kSums = 4;
  static constexpr std::ptrdiff_t kBytes = 16;

  using Count = __m128i;
  PIXMORPH_INLINE_MEMBER static Count ShiftCount(std::int32_t n) { return _mm_cvtsi32_si128(n); }

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Vec
  PIXMORPH_OP Set(std::int32_t x) { return _mm_set1_epi32(x); }
  PIXMORPH_OP Set16(std::int16_t x) { return _mm_set1_epi16(x); }
  PIXMORPH_OP And(Vec a, Vec b) { return _mm_and_si128(a, b); }
  PIXMORPH_OP ShiftRight(Vec a, Count n) { return _mm_sra_epi32(a, n); }
  PIXMORPH_OP Greater16(Vec a, Vec b) { return _mm_cmpgt_epi16(a, b); }
  PIXMORPH_OP PackSigned32(Vec a, Vec b) { return _mm_packs_epi32(a, b); }
  PIXMORPH_OP PackSigned16(Vec a, Vec b) { return _mm_packs_epi16(a, b); }
  PIXMORPH_OP PackUnsigned16(Vec a, Vec b) { return _mm_packus_epi16(a, b); }
  PIXMORPH_OP LoadWords(const std::uint8_t* p) { return _mm_load_si128(reinterpret_cast<const Vec*>(p)); }
  PIXMORPH_OP MultiplyAdd(Vec pixels, Vec weights, Vec sums) {
    return _mm_add_epi32(sums, _mm_madd_epi16(pixels, weights));
  }
#undef PIXMORPH_OP

  // Bytes as 16-bit words.
  struct Widened {
    PIXMORPH_INLINE_MEMBER explicit Widened(const std::uint8_t* p)
        : bytes(_mm_loadu_si128(reinterpret_cast<const Vec*>(p))) {}
    PIXMORPH_INLINE_MEMBER Vec First() const { return Level::Widen(bytes); }
    PIXMORPH_INLINE_MEMBER Vec Second() const { return _mm_unpackhi_epi8(bytes, _mm_setzero_si128()); }
    Vec bytes;
  };

  // Of what `WordRounding::Unsure` gives, a bit for each sum.
  PIXMORPH_INLINE_MEMBER static std::uint32_t Bits(Vec bytes) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes));
  }

  PIXMORPH_INLINE_MEMBER static std::uint32_t PlaceInBlock(std::uint32_t column) { return column; }
  // Such a bit's column and its place, counted from the block's first.
  PIXMORPH_INLINE_MEMBER static std::uint32_t ColumnOfBit(std::uint32_t bit) { return bit; }
  PIXMORPH_INLINE_MEMBER static std::uint32_t PlaceOfBit(std::uint32_t bit) { return bit; }

  // Four columns from x on of eight rows to two pairs.
  PIXMORPH_INLINE_MEMBER static void Weave(const std::uint8_t* const* rows, std::int32_t x,
                                           std::uint8_t* out) {
    for (int half = 0; half < 2; ++half, rows += 4, out += 16) {
      const Vec a = ByTwos(rows[0], x), b = ByTwos(rows[1], x), c = ByTwos(rows[2], x),
                d = ByTwos(rows[3], x);
      StorePair(_mm_unpacklo_epi16(a, b), _mm_unpacklo_epi16(c, d), out);
      StorePair(_mm_unpackhi_epi16(a, b), _mm_unpackhi_epi16(c, d), out + kPairBytes);
    }
  }

  // Four columns of four rows to two planes.
  PIXMORPH_INLINE_MEMBER static void StoreRows(Vec bytes, std::uint8_t* out, std::ptrdiff_t stride) {
    const Vec planes = Level::EvenWordsFirst(bytes);
    _mm_storel_epi64(reinterpret_cast<Vec*>(out), planes);
    _mm_storel_epi64(reinterpret_cast<Vec*>(out + stride), _mm_unpackhi_epi64(planes, planes));
  }

  // The first `count` pixels of a block from its channels.
  PIXMORPH_INLINE_MEMBER static void StoreBlock(const Vec (&channels)[kChannels], std::uint8_t* out,
                                                std::int32_t count, std::uint32_t top) {
    if (count >= 16) return StorePixels(channels, out, top);
    std::uint8_t pixels[64];
    StorePixels(channels, pixels, top);
    __builtin_memcpy(out, pixels, 4 * static_cast<std::uint32_t>(count));
  }

 private:
  PIXMORPH_INLINE_MEMBER static Vec ByTwos(const std::uint8_t* row, std::int32_t x) {
    return Level::ByTwos(_mm_loadu_si128(reinterpret_cast<const Vec*>(PixelAt(row, x))));
  }

  // Four rows of a pair, of which `ab` and `cd` have two each, channel by channel.
  PIXMORPH_INLINE_MEMBER static void StorePair(Vec ab, Vec cd, std::uint8_t* out) {
    const Vec zero = _mm_setzero_si128(), firstTwo = _mm_unpacklo_epi32(ab, cd);
    _mm_store_si128(reinterpret_cast<Vec*>(out), Level::Widen(firstTwo));
    _mm_store_si128(reinterpret_cast<Vec*>(out + kRowsBytes), _mm_unpackhi_epi8(firstTwo, zero));
    _mm_store_si128(reinterpret_cast<Vec*>(out + 2 * kRowsBytes), Level::Widen(_mm_unpackhi_epi32(ab, cd)));
  }

  PIXMORPH_INLINE_MEMBER static void StorePixels(const Vec (&channels)[kChannels], std::uint8_t* out,
                                                 std::uint32_t top) {
    const Vec tops = _mm_set1_epi8(static_cast<char>(top >> 24));
    const auto store = [&out](Vec firstTwo, Vec lastTwo) {
      _mm_storeu_si128(reinterpret_cast<Vec*>(out), _mm_unpacklo_epi16(firstTwo, lastTwo));
      _mm_storeu_si128(reinterpret_cast<Vec*>(out + 16), _mm_unpackhi_epi16(firstTwo, lastTwo));
      out += 32;
    };
    store(_mm_unpacklo_epi8(channels[0], channels[1]), _mm_unpacklo_epi8(channels[2], tops));
    store(_mm_unpackhi_epi8(channels[0], channels[1]), _mm_unpackhi_epi8(channels[2], tops));
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_VEC_SSE_H_
