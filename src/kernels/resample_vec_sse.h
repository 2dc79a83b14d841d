#ifndef PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_
#define PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_

#include <emmintrin.h>

#include "kernels/resample_float_simd.h"

namespace pixmorph::kernels {

namespace {

// One pixel a vector. Widen turns the 32-bit word in lane 0 of a vector into four words, one a byte.
template <class Widen>
struct OnePixel {
  using F = __m128;
  static constexpr std::int32_t kPixels = 1;

  PIXMORPH_INLINE_MEMBER static F Zero() { return _mm_setzero_ps(); }
  PIXMORPH_INLINE_MEMBER static F Set(float x) { return _mm_set1_ps(x); }
  PIXMORPH_INLINE_MEMBER static void Store(float* p, F x) { _mm_storeu_ps(p, x); }
  PIXMORPH_INLINE_MEMBER static F MultiplyAdd(F a, F b, F c) { return _mm_add_ps(_mm_mul_ps(a, b), c); }
  PIXMORPH_INLINE_MEMBER static __m128 FromPixel(const std::uint8_t* p) {
    const __m128i word = _mm_and_si128(_mm_loadu_si32(p), _mm_cvtsi32_si128(0x00FFFFFF));
    return _mm_cvtepi32_ps(Widen::Bytes(word));
  }
  PIXMORPH_INLINE_MEMBER static F FromPixels(const std::uint8_t* p) { return FromPixel(p); }

  // Output column i of four rows.
  PIXMORPH_INLINE_MEMBER static void SumColumns(const FloatAxis& axis, const FloatStretch<OnePixel>& stretch,
                                                std::int32_t i, F (&sums)[4]) {
    const std::int32_t column = i < axis.exact.count ? i : axis.exact.count - 1;
    const WeightList& list = axis.exact.lists[column];
    const FloatBlock& block = axis.blocks[list.block];
    const float* weights = axis.weights + block.offset;
    const float* source = stretch.At(list.first);
    const std::ptrdiff_t stride = stretch.Stride();
    F a = Set(block.start), b = a, c = a, d = a;
    for (std::int32_t t = axis.exact.blocks[list.block].count; t > 0; --t, source += 4) {
      const F weight = Set(*weights++);
      a = MultiplyAdd(_mm_loadu_ps(source), weight, a);
      b = MultiplyAdd(_mm_loadu_ps(source + stride), weight, b);
      c = MultiplyAdd(_mm_loadu_ps(source + 2 * stride), weight, c);
      d = MultiplyAdd(_mm_loadu_ps(source + 3 * stride), weight, d);
    }
    sums[0] = a, sums[1] = b, sums[2] = c, sums[3] = d;
  }

  // Four pixels to bytes, clamped; a bit for each that has a channel too near a rounding boundary.
  PIXMORPH_INLINE_MEMBER static std::uint32_t Finish(const F (&sums)[4], float sure, std::uint8_t* out) {
    __m128i whole[4];
    __m128 off[4];
    for (int n = 0; n < 4; ++n) {
      whole[n] = _mm_cvtps_epi32(sums[n]);
      const __m128 distance = _mm_sub_ps(sums[n], _mm_cvtepi32_ps(whole[n]));
      off[n] = _mm_andnot_ps(_mm_set1_ps(-0.0f), distance);
    }
    const __m128i low = _mm_packs_epi32(whole[0], whole[1]), high = _mm_packs_epi32(whole[2], whole[3]);
    _mm_store_si128(reinterpret_cast<__m128i*>(out), _mm_packus_epi16(low, high));
    const __m128 limit = _mm_set1_ps(sure);
    const __m128 most = _mm_max_ps(_mm_max_ps(off[0], off[1]), _mm_max_ps(off[2], off[3]));
    if (__builtin_expect(_mm_movemask_ps(_mm_cmpgt_ps(most, limit)) == 0, 1)) return 0;
    std::uint32_t unsure = 0;
    for (int n = 0; n < 4; ++n) unsure |= (_mm_movemask_ps(_mm_cmpgt_ps(off[n], limit)) != 0 ? 1u : 0u) << n;
    return unsure;
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_
