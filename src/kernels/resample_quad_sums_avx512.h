#ifndef PIXMORPH_KERNELS_RESAMPLE_QUAD_SUMS_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUAD_SUMS_AVX512_H_

#include <type_traits>

#include "kernels/intrinsics.h"
#include "kernels/resample_kernel.h"

// Sums over quads of taps, and how they become bytes.
namespace pixmorph::kernels {

namespace {

constexpr int kUsualBits = 22;     // of the fraction: most weights allow as many
constexpr int kLongListBits = 21;  // what is left where weights of both signs add up to more

PIXMORPH_INLINE __m512i LoadVector(const void* p) { return _mm512_loadu_si512(p); }

// Adds to each word of `sums` four bytes times the four signed bytes of word kWord. As an operand of the
// product a word is broadcast for nothing; compilers would rather keep it in a vector on the stack, having
// only eight registers.
template <std::int32_t kWord>
PIXMORPH_INLINE void AddProducts(__m512i& sums, __m512i bytes, const std::int32_t* words) {
  using Words = const std::int32_t[kWord + 1];
  __asm__("vpdpbusd %c4(%2)%{1to16%}, %1, %0"
          : "+v"(sums)
          : "v"(bytes), "r"(words), "m"(*reinterpret_cast<Words*>(words)), "i"(4 * kWord));
}

// A list's three sums.
struct DigitsOfSums {
  __m512i high, middle, low;

  // Those of the quad at `source`, of the first kDigits.
  template <std::int32_t kDigits, std::int32_t kQuad>
  PIXMORPH_INLINE_MEMBER void Add(const std::uint8_t* source, const std::int32_t* digits) {
    const __m512i bytes = LoadVector(source);
    AddProducts<3 * kQuad>(high, bytes, digits);
    if (kDigits == 1) return;
    AddProducts<3 * kQuad + 1>(middle, bytes, digits);
    AddProducts<3 * kQuad + 2>(low, bytes, digits);
  }
  // Those of quads 0 .. kQuads - 1.
  template <std::int32_t kDigits, std::int32_t kQuads>
  PIXMORPH_INLINE_MEMBER void AddFirst(const std::uint8_t* source, std::ptrdiff_t stride,
                                       const std::int32_t* digits) {
    if constexpr (kQuads > 0) {
      AddFirst<kDigits, kQuads - 1>(source, stride, digits);
      Add<kDigits, kQuads - 1>(source + (kQuads - 1) * stride, digits);
    }
  }
};

// The three digits' sums of one list over quads that lie `stride` bytes apart, put together. kQuads 0:
// `quads` of them, otherwise kQuads. kDigits: see `QuadList::digits`.
template <std::int32_t kDigits, std::int32_t kQuads>
PIXMORPH_INLINE __m512i DigitSums(const std::uint8_t* source, std::ptrdiff_t stride,
                                  const std::int32_t* digits, std::int32_t quads, std::int32_t bias) {
  DigitsOfSums sums = {_mm512_setzero_si512(), _mm512_setzero_si512(), _mm512_set1_epi32(bias)};
  sums.AddFirst<kDigits, kQuads>(source, stride, digits);
  if (kQuads == 0) {
    for (; quads > 1; quads -= 2, source += 2 * stride, digits += 6)
      sums.AddFirst<kDigits, 2>(source, stride, digits);
    if (quads > 0) sums.AddFirst<kDigits, 1>(source, stride, digits);
  }
  const __m512i upper = _mm512_add_epi32(_mm512_slli_epi32(sums.high, 16), _mm512_slli_epi32(sums.middle, 8));
  return _mm512_add_epi32(upper, sums.low);
}

// Calls work(number of digits), a constant.
template <int kBits, class Work>
PIXMORPH_INLINE void WithDigits(std::int32_t digits, const Work& work) {
  // Simple weights leave the fraction its usual bits; elsewhere three digits are right, too.
  if (kBits == kUsualBits && digits == 1) return work(std::integral_constant<std::int32_t, 1>());
  work(std::integral_constant<std::int32_t, 3>());
}

// Calls work(quads), a constant, for 1 .. kMost of them; for more work(0).
template <std::int32_t kMost, class Work>
PIXMORPH_INLINE void WithQuads(std::int32_t quads, const Work& work) {
  if constexpr (kMost > 0) {
    if (quads == kMost) return work(std::integral_constant<std::int32_t, kMost>());
    WithQuads<kMost - 1>(quads, work);
  } else {
    work(std::integral_constant<std::int32_t, 0>());
  }
}

// kBits 0: as many fraction bits as the axis says, otherwise kBits.
template <int kBits>
struct Rounding {
  __m128i down;  // fractionBits
  __m512i doubtMask;

  PIXMORPH_INLINE_MEMBER explicit Rounding(const QuadAxis& axis)
      : down(_mm_cvtsi32_si128(axis.fractionBits)), doubtMask(_mm512_set1_epi32(axis.doubtMask)) {}

  // The samples whose fraction is too small to be sure; with one digit all are.
  template <std::int32_t kDigits>
  PIXMORPH_INLINE_MEMBER __mmask16 Unsure(__m512i sums) const {
    return kDigits == 1 ? static_cast<__mmask16>(0) : _mm512_testn_epi32_mask(sums, doubtMask);
  }
  PIXMORPH_INLINE_MEMBER __m512i Whole(__m512i sums) const {
    return kBits ? _mm512_srai_epi32(sums, kBits) : _mm512_sra_epi32(sums, down);
  }
};

// Four vectors of words to bytes, clamped: lane l of the result has lane l of each.
PIXMORPH_INLINE __m512i Narrow(__m512i a, __m512i b, __m512i c, __m512i d) {
  return _mm512_packus_epi16(_mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d));
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUAD_SUMS_AVX512_H_
