#ifndef PIXMORPH_KERNELS_VEC_SSE41_H_
#define PIXMORPH_KERNELS_VEC_SSE41_H_

#include <smmintrin.h>

#include "kernels/vec_sse.h"

namespace pixmorph::kernels {
namespace {

struct Sse41Ops {
#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static __m128i
  PIXMORPH_OP NotNegative32(__m128i a) { return _mm_max_epi32(a, _mm_setzero_si128()); }
  PIXMORPH_INLINE_MEMBER static bool AnyOf(__m128i a, __m128i mask) { return !_mm_testz_si128(a, mask); }
  PIXMORPH_INLINE_MEMBER static void Subtract8(__m128i a, __m128i b, __m128i* lo, __m128i* hi) {
    const __m128i signs = _mm_set1_epi16(static_cast<std::int16_t>(0xFF01));  // 1 and -1
    *lo = _mm_maddubs_epi16(_mm_unpacklo_epi8(a, b), signs);
    *hi = _mm_maddubs_epi16(_mm_unpackhi_epi8(a, b), signs);
  }
  PIXMORPH_OP MulSmall32(__m128i a, __m128i b) { return _mm_mullo_epi32(a, b); }
  PIXMORPH_OP FromRgb24(__m128i all) {
    return _mm_shuffle_epi8(all, _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1));
  }
  PIXMORPH_OP ToRgb24(__m128i bgrx) {
    return _mm_shuffle_epi8(bgrx, _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1));
  }
#undef PIXMORPH_OP
};

using VecSse41 = VecSse<Sse41Ops>;

// Doubles, for arithmetic on one channel of as many pixels.
struct VecSse41Doubles {
  using Self = VecSse41Doubles;
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
  using Sum = Self;
  PIXMORPH_INLINE_MEMBER static Sum NoSum() { return Set(0); }
  PIXMORPH_INLINE_MEMBER static Sum AddWhole(Sum sum, Self a) {
    return {_mm_add_pd(sum.r, _mm_round_pd(a.r, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC))};
  }
  PIXMORPH_INLINE_MEMBER static Sum AddSums(Sum a, Sum b) { return {_mm_add_pd(a.r, b.r)}; }
  PIXMORPH_INLINE_MEMBER static Pixels ToInt32(Sum sum) { return _mm_cvttpd_epi32(sum.r); }
  // All lanes moved up by one, with the last one of `earlier` in front.
  PIXMORPH_OP Before(Self earlier, Self a) { return {_mm_shuffle_pd(earlier.r, a.r, 0x1)}; }

  // Pixels of channels that are clamped to 0 .. 255; `top` is in that range.
  PIXMORPH_INLINE_MEMBER static Pixels Clamped(Pixels blue, Pixels green, Pixels red, Pixels top) {
    const Pixels planes = _mm_packus_epi16(_mm_packs_epi32(blue, green), _mm_packs_epi32(red, top));
    return _mm_shuffle_epi8(planes, _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
  }
};

#undef PIXMORPH_OP

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_VEC_SSE41_H_
