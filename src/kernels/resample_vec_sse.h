#ifndef PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_
#define PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_

#include <emmintrin.h>

#include "kernels/resample_pair_simd.h"
#include "kernels/resample_word_simd.h"

namespace pixmorph::kernels {

namespace {

// 8 lanes of 16 bits.
struct Words128 {
  using Self = Words128;
  static constexpr std::int32_t kLanes = 8;
  __m128i r;

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Self
  PIXMORPH_OP LoadBytes(const void* p) { return {_mm_loadu_si128(static_cast<const __m128i*>(p))}; }
  PIXMORPH_OP Load(const std::int16_t* p) { return LoadBytes(p); }
  PIXMORPH_INLINE_MEMBER static void StoreBytes(std::uint8_t* p, Self a) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), a.r);
  }
  // Past the caches; aligned. `EndStreaming` orders what was streamed before what is stored later.
  PIXMORPH_INLINE_MEMBER static void EndStreaming() { _mm_sfence(); }
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* p, Self a) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(p), a.r);
  }
  PIXMORPH_OP Set(std::int16_t x) { return {_mm_set1_epi16(x)}; }
  PIXMORPH_OP Add(Self a, Self b) { return {_mm_add_epi16(a.r, b.r)}; }
  PIXMORPH_OP AddSaturated(Self a, Self b) { return {_mm_adds_epi16(a.r, b.r)}; }
  PIXMORPH_OP Subtract(Self a, Self b) { return {_mm_sub_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyLow(Self a, Self b) { return {_mm_mullo_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyHigh(Self a, Self b) { return {_mm_mulhi_epi16(a.r, b.r)}; }
  PIXMORPH_OP Xor(Self a, Self b) { return {_mm_xor_si128(a.r, b.r)}; }
  // Bytes: the average of two, halves rounded up.
  PIXMORPH_OP AverageBytes(Self a, Self b) { return {_mm_avg_epu8(a.r, b.r)}; }
  // -1 for negative lanes, else 0.
  PIXMORPH_OP Signs(Self a) { return {_mm_srai_epi16(a.r, 15)}; }
  // Of each 16 bytes the first or the last eight as lanes, and back.
  PIXMORPH_OP Low(Self a) { return {_mm_unpacklo_epi8(a.r, _mm_setzero_si128())}; }
  PIXMORPH_OP High(Self a) { return {_mm_unpackhi_epi8(a.r, _mm_setzero_si128())}; }
  PIXMORPH_OP Pack(Self low, Self high) { return {_mm_packus_epi16(low.r, high.r)}; }
  // Pixels with another top byte.
  PIXMORPH_OP WithTop(Self a, std::uint32_t top) {
    const auto colours = _mm_and_si128(a.r, _mm_set1_epi32(0x00FFFFFF));
    return {_mm_or_si128(colours, _mm_set1_epi32(static_cast<std::int32_t>(top)))};
  }

  // Pixels at columns counted from `from`, below `rest` and kReach.
  static constexpr std::int32_t kReach = INT32_MAX;
  PIXMORPH_OP Gather(const std::uint8_t* from, std::int32_t, const std::int32_t* columns) {
    const auto at = [from, columns](int n) {
      return _mm_loadu_si32(from + 4 * static_cast<std::ptrdiff_t>(columns[n]));
    };
    const __m128i low = _mm_unpacklo_epi32(at(0), at(1)), high = _mm_unpacklo_epi32(at(2), at(3));
    return {_mm_unpacklo_epi64(low, high)};
  }
#undef PIXMORPH_OP
};

// One pixel a vector. `Level` has what is done better where SSE4.1 is there.
template <class Level>
struct OnePixel {
  using Vec = __m128i;
  static constexpr int kPixels = 1;
  static constexpr int kBytes = 16;
  static constexpr double kUnsureAPair = 0.014;  // measured

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Vec
  PIXMORPH_OP Set(std::int32_t x) { return _mm_set1_epi32(x); }
  PIXMORPH_OP LoadWords(const std::uint8_t* p) { return _mm_load_si128(reinterpret_cast<const Vec*>(p)); }
  PIXMORPH_OP MultiplyAdd(Vec pixels, Vec weights, Vec sums) {
    return _mm_add_epi32(sums, _mm_madd_epi16(pixels, weights));
  }
  // The sum of wide weights from its two.
  PIXMORPH_OP Joined(Vec first, Vec second) {
    return _mm_add_epi32(_mm_slli_epi32(first, kWideLowBits), second);
  }
  // As the pixels that four vectors of sums came from lie.
  PIXMORPH_OP InOrder(Vec bytes) { return bytes; }
#undef PIXMORPH_OP

  // Two woven pixels as 16-bit words.
  struct Widened {
    PIXMORPH_INLINE_MEMBER explicit Widened(const std::uint8_t* p)
        : bytes(_mm_loadu_si128(reinterpret_cast<const Vec*>(p))) {}
    PIXMORPH_INLINE_MEMBER Vec First() const { return Level::Widen(bytes); }
    PIXMORPH_INLINE_MEMBER Vec Second() const { return _mm_unpackhi_epi8(bytes, _mm_setzero_si128()); }
    Vec bytes;
  };

  struct Rounding {
    PIXMORPH_INLINE_MEMBER explicit Rounding(const WordGrade& grade)
        : up(_mm_cvtsi32_si128(32 - grade.fractionBits)),
          down(_mm_cvtsi32_si128(grade.fractionBits)),
          threshold(
              Level::Threshold(static_cast<std::uint32_t>(grade.threshold) << (32 - grade.fractionBits))) {}
    // A byte for each channel of the four: not 0 where its fraction is below the threshold.
    PIXMORPH_INLINE_MEMBER Vec Unsure(const Vec (&sums)[4]) const {
      return _mm_packs_epi16(_mm_packs_epi32(Below(sums[0]), Below(sums[1])),
                             _mm_packs_epi32(Below(sums[2]), Below(sums[3])));
    }
    PIXMORPH_INLINE_MEMBER Vec Bytes(const Vec (&sums)[4]) const {
      const Vec low = _mm_packs_epi32(_mm_sra_epi32(sums[0], down), _mm_sra_epi32(sums[1], down));
      return _mm_packus_epi16(low,
                              _mm_packs_epi32(_mm_sra_epi32(sums[2], down), _mm_sra_epi32(sums[3], down)));
    }

   private:
    PIXMORPH_INLINE_MEMBER Vec Below(Vec sums) const {
      return Level::Below(_mm_sll_epi32(sums, up), threshold);
    }
    Vec up, down, threshold;
  };

  PIXMORPH_INLINE_MEMBER static std::uint32_t Bits(Vec bytes) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(bytes)) & kColourBits;
  }

  // Four pixels of four rows to two pairs.
  PIXMORPH_INLINE_MEMBER static void Weave(const std::uint8_t* a, const std::uint8_t* b,
                                           const std::uint8_t* c, const std::uint8_t* d, std::uint8_t* out) {
    WeaveRow(a, out), WeaveRow(b, out + 16), WeaveRow(c, out + 32), WeaveRow(d, out + 48);
  }

  // Four columns of four rows to the two planes.
  PIXMORPH_INLINE_MEMBER static void StoreWoven(const Vec (&rows)[4], std::uint8_t* out,
                                                std::ptrdiff_t stride) {
    for (int n = 0; n < 4; n += 2, out += stride) {
      _mm_storeu_si128(reinterpret_cast<Vec*>(out), _mm_unpacklo_epi8(rows[n], rows[n + 1]));
      _mm_storeu_si128(reinterpret_cast<Vec*>(out + 16), _mm_unpackhi_epi8(rows[n], rows[n + 1]));
    }
  }

  // The first `count` of four pixels.
  PIXMORPH_INLINE_MEMBER static void StorePixels(Vec pixels, std::uint8_t* out, std::int32_t count,
                                                 std::uint32_t top) {
    const Vec colours = _mm_and_si128(pixels, _mm_set1_epi32(0x00FFFFFF));
    const Vec written = _mm_or_si128(colours, _mm_set1_epi32(static_cast<std::int32_t>(top)));
    if (count >= 4) return _mm_storeu_si128(reinterpret_cast<Vec*>(out), written);
    alignas(16) std::uint8_t bytes[16];
    _mm_store_si128(reinterpret_cast<Vec*>(bytes), written);
    __builtin_memcpy(out, bytes, 4 * static_cast<std::uint32_t>(count));
  }

 private:
  PIXMORPH_INLINE_MEMBER static void WeaveRow(const std::uint8_t* row, std::uint8_t* out) {
    const Vec pixels = _mm_loadu_si128(reinterpret_cast<const Vec*>(row)), next = _mm_srli_si128(pixels, 4);
    const Vec first = Level::Widen(_mm_unpacklo_epi8(pixels, next));
    const Vec second = Level::Widen(_mm_unpackhi_epi8(pixels, next));
    _mm_store_si128(reinterpret_cast<Vec*>(out), first);
    _mm_store_si128(reinterpret_cast<Vec*>(out + kPairBytes), second);
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_
