#ifndef PIXMORPH_KERNELS_RESAMPLE_QUAD_SUMS_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUAD_SUMS_AVX512_H_

#include "kernels/intrinsics.h"
#include "kernels/resample_kernel.h"

// Sums over quads of taps, and how they become bytes.
namespace pixmorph::kernels {

namespace {

constexpr int kUsualBits = 22;          // of the fraction: most weights allow as many
constexpr int kLongListBits = 21;       // what is left where weights of both signs add up to more
constexpr __mmask16 kColours = 0x7777;  // of four pixels with four words each; the top byte is nobody's

PIXMORPH_INLINE __m512i LoadVector(const void* p) { return _mm512_loadu_si512(p); }

PIXMORPH_INLINE __m512i Broadcast(const std::int32_t* p) { return _mm512_set1_epi32(*p); }

// The same vector, which the compiler has to keep now, since it can't read it again.
PIXMORPH_INLINE __m512i Kept(__m512i vector) {
  __asm__("" : "+v"(vector));
  return vector;
}

// What follows reads its memory anew. With eight registers the compiler would otherwise keep many digits in
// vectors of their own on the stack, of which one can be loaded a cycle; as operands of the products two can.
PIXMORPH_INLINE void ForgetMemory() { __asm__ volatile("" : : : "memory"); }

// The three digits' sums of one list over quads that lie `stride` bytes apart, put together. kQuads 0:
// `quads` of them, otherwise kQuads.
template <std::int32_t kQuads>
PIXMORPH_INLINE __m512i DigitSums(const std::uint8_t* source, std::ptrdiff_t stride,
                                  const std::int32_t* digits, std::int32_t quads, std::int32_t bias) {
  ForgetMemory();
  __m512i high = _mm512_setzero_si512(), middle = high, low = _mm512_set1_epi32(bias);
  const auto add = [&high, &middle, &low](const std::uint8_t* at, const std::int32_t* words) {
    const __m512i bytes = Kept(LoadVector(at));
    high = _mm512_dpbusd_epi32(high, bytes, Broadcast(words));
    middle = _mm512_dpbusd_epi32(middle, bytes, Broadcast(words + 1));
    low = _mm512_dpbusd_epi32(low, bytes, Broadcast(words + 2));
  };
  if (kQuads == 0) {
    for (; quads > 1; quads -= 2, source += 2 * stride, digits += 6) {
      add(source, digits);
      add(source + stride, digits + 3);
    }
    if (quads > 0) add(source, digits);
  }
#pragma GCC unroll 8
  for (std::int32_t q = 0; q < kQuads; ++q) add(source + q * stride, digits + 3 * q);
  const __m512i upper = _mm512_add_epi32(_mm512_slli_epi32(high, 16), _mm512_slli_epi32(middle, 8));
  return _mm512_add_epi32(upper, low);
}

// kBits 0: as many fraction bits as the axis says, otherwise kBits.
template <int kBits>
struct Rounding {
  __m128i up;    // 32 - fractionBits: leaves the fraction alone
  __m128i down;  // fractionBits
  __m512i threshold;

  PIXMORPH_INLINE_MEMBER explicit Rounding(const QuadAxis& axis)
      : up(_mm_cvtsi32_si128(32 - axis.fractionBits)),
        down(_mm_cvtsi32_si128(axis.fractionBits)),
        threshold(_mm512_set1_epi32(static_cast<std::int32_t>(axis.threshold))) {}

  // The samples whose fraction is too small to be sure.
  PIXMORPH_INLINE_MEMBER __mmask16 Unsure(__m512i sums) const {
    const __m512i fractions = kBits ? _mm512_slli_epi32(sums, 32 - kBits) : _mm512_sll_epi32(sums, up);
    return _mm512_mask_cmplt_epu32_mask(kColours, fractions, threshold);
  }
  PIXMORPH_INLINE_MEMBER __m512i Whole(__m512i sums) const {
    return kBits ? _mm512_srai_epi32(sums, kBits) : _mm512_sra_epi32(sums, down);
  }
};

// Four vectors of words to bytes, clamped: lane l of the result has lane l of each.
PIXMORPH_INLINE __m512i Narrow(__m512i a, __m512i b, __m512i c, __m512i d) {
  return _mm512_packus_epi16(_mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d));
}

PIXMORPH_INLINE bool AnyOf(const __mmask16 (&m)[4]) {
  return _cvtmask16_u32(_kor_mask16(_kor_mask16(m[0], m[1]), _kor_mask16(m[2], m[3]))) != 0;
}

PIXMORPH_INLINE std::uint64_t Together(const __mmask16 (&m)[4]) {
  return _cvtmask64_u64(_mm512_kunpackd(_mm512_kunpackw(m[3], m[2]), _mm512_kunpackw(m[1], m[0])));
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUAD_SUMS_AVX512_H_
