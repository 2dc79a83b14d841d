#ifndef PIXMORPH_KERNELS_VEC_SSE2_H_
#define PIXMORPH_KERNELS_VEC_SSE2_H_

#include <emmintrin.h>

#include "kernels/vec_sse.h"

namespace pixmorph::kernels {
namespace {

struct Sse2Ops {
#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static __m128i
  PIXMORPH_OP NotNegative32(__m128i a) { return _mm_andnot_si128(_mm_srai_epi32(a, 31), a); }
  PIXMORPH_INLINE_MEMBER static bool AnyOf(__m128i a, __m128i mask) {
    return _mm_movemask_epi8(_mm_cmpeq_epi32(_mm_and_si128(a, mask), _mm_setzero_si128())) != 0xFFFF;
  }
  PIXMORPH_INLINE_MEMBER static void Subtract8(__m128i a, __m128i b, __m128i* lo, __m128i* hi) {
    const __m128i zero = _mm_setzero_si128();
    *lo = _mm_sub_epi16(_mm_unpacklo_epi8(a, zero), _mm_unpacklo_epi8(b, zero));
    *hi = _mm_sub_epi16(_mm_unpackhi_epi8(a, zero), _mm_unpackhi_epi8(b, zero));
  }
  PIXMORPH_OP MulSmall32(__m128i a, __m128i b) {
    const __m128i odd = _mm_mul_epu32(_mm_srli_epi64(a, 32), _mm_srli_epi64(b, 32));
    return _mm_or_si128(_mm_mul_epu32(a, b), _mm_slli_epi64(odd, 32));
  }
  PIXMORPH_OP FromRgb24(__m128i all) {
    const __m128i two = _mm_unpacklo_epi32(all, _mm_srli_si128(all, 3));
    const __m128i next = _mm_srli_si128(all, 6);
    return SwapRedBlue(_mm_unpacklo_epi64(two, _mm_unpacklo_epi32(next, _mm_srli_si128(next, 3))));
  }
  PIXMORPH_OP ToRgb24(__m128i bgrx) {
    const __m128i pixels = SwapRedBlue(bgrx);
    const __m128i even = _mm_and_si128(pixels, _mm_set1_epi64x(0xFFFFFF));
    const __m128i pairs =
        _mm_or_si128(even, _mm_srli_epi64(_mm_andnot_si128(_mm_set1_epi64x(0xFFFFFFFF), pixels), 8));
    const __m128i first = _mm_and_si128(pairs, _mm_setr_epi32(-1, -1, 0, 0));
    return _mm_or_si128(first, _mm_slli_si128(_mm_srli_si128(pairs, 8), 6));
  }

 private:
  // Without their top bytes.
  PIXMORPH_OP SwapRedBlue(__m128i pixels) {
    const __m128i outer = _mm_and_si128(pixels, _mm_set1_epi32(0x00FF00FF));
    const __m128i swapped = _mm_or_si128(_mm_srli_epi32(outer, 16), _mm_slli_epi32(outer, 16));
    return _mm_or_si128(swapped, _mm_and_si128(pixels, _mm_set1_epi32(0x0000FF00)));
  }
#undef PIXMORPH_OP
};

using VecSse2 = VecSse<Sse2Ops>;

// Doubles, for arithmetic on one channel of as many pixels.
struct VecSse2Doubles {
  using Self = VecSse2Doubles;
  using Pixels = __m128i;
  static constexpr int kLanes = 2;
  __m128d r;

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Self

  PIXMORPH_OP Set(double v) { return {_mm_set1_pd(v)}; }
  PIXMORPH_OP Multiply(Self a, Self b) { return {_mm_mul_pd(a.r, b.r)}; }
  PIXMORPH_OP Subtract(Self a, Self b) { return {_mm_sub_pd(a.r, b.r)}; }
  PIXMORPH_OP NotBelow0(Self a) { return {_mm_max_pd(a.r, _mm_setzero_pd())}; }
  PIXMORPH_OP DivideBy255(Self a) { return {_mm_div_pd(a.r, _mm_set1_pd(255))}; }

  // One 32-bit pixel a lane, or one 32-bit number.
  PIXMORPH_INLINE_MEMBER static Pixels SetPixels(std::uint32_t v) {
    return _mm_set1_epi32(static_cast<int>(v));
  }
  PIXMORPH_INLINE_MEMBER static Pixels LoadPixels(const std::uint8_t* p) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void StorePixels(std::uint8_t* p, Pixels pixels) {
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), pixels);
  }

  // The byte above `kShift`, or 255 less it.
  template <int kShift>
  PIXMORPH_OP Channel(Pixels pixels) {
    return {_mm_cvtepi32_pd(_mm_and_si128(_mm_srli_epi32(pixels, kShift), SetPixels(0xFF)))};
  }
  template <int kShift>
  PIXMORPH_OP InverseChannel(Pixels pixels) {
    return {_mm_cvtepi32_pd(_mm_andnot_si128(_mm_srli_epi32(pixels, kShift), SetPixels(0xFF)))};
  }
  // Sums of truncated numbers, all of less than 32 bits.
  using Sum = __m128i;
  PIXMORPH_INLINE_MEMBER static Sum NoSum() { return _mm_setzero_si128(); }
  PIXMORPH_INLINE_MEMBER static Sum AddWhole(Sum sum, Self a) {
    return _mm_add_epi32(sum, _mm_cvttpd_epi32(a.r));
  }
  PIXMORPH_INLINE_MEMBER static Sum AddSums(Sum a, Sum b) { return _mm_add_epi32(a, b); }
  PIXMORPH_INLINE_MEMBER static Pixels ToInt32(Sum sum) { return sum; }
  // All lanes moved up by one, with the last one of `earlier` in front.
  PIXMORPH_OP Before(Self earlier, Self a) { return {_mm_shuffle_pd(earlier.r, a.r, 0x1)}; }
  PIXMORPH_INLINE_MEMBER static Sum Before(Sum earlier, Sum a) {
    return _mm_unpacklo_epi32(_mm_srli_si128(earlier, 4), a);
  }

  // Pixels of channels that are clamped to 0 .. 255; `top` is in that range.
  PIXMORPH_INLINE_MEMBER static Pixels Clamped(Pixels blue, Pixels green, Pixels red, Pixels top) {
    const Pixels planes = _mm_packus_epi16(_mm_packs_epi32(blue, green), _mm_packs_epi32(red, top));
    const Pixels blueGreen = _mm_unpacklo_epi8(planes, _mm_srli_si128(planes, 4));
    const Pixels redTop = _mm_unpacklo_epi8(_mm_srli_si128(planes, 8), _mm_srli_si128(planes, 12));
    return _mm_unpacklo_epi16(blueGreen, redTop);
  }
};

#undef PIXMORPH_OP

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_VEC_SSE2_H_
