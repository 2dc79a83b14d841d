#include <immintrin.h>

#include "kernels/resample_float_simd.h"

namespace pixmorph::kernels {

namespace {

struct TwoPixels {
  using F = __m256;
  static constexpr std::int32_t kPixels = 2;

  PIXMORPH_INLINE_MEMBER static F Zero() { return _mm256_setzero_ps(); }
  PIXMORPH_INLINE_MEMBER static F Set(float x) { return _mm256_set1_ps(x); }
  PIXMORPH_INLINE_MEMBER static void Store(float* p, F x) { _mm256_storeu_ps(p, x); }
  PIXMORPH_INLINE_MEMBER static F MultiplyAdd(F a, F b, F c) { return _mm256_fmadd_ps(a, b, c); }
  PIXMORPH_INLINE_MEMBER static __m128 FromPixel(const std::uint8_t* p) {
    return _mm_cvtepi32_ps(
        _mm_cvtepu8_epi32(_mm_and_si128(_mm_loadu_si32(p), _mm_cvtsi32_si128(0x00FFFFFF))));
  }
  PIXMORPH_INLINE_MEMBER static F FromPixels(const std::uint8_t* p) {
    const __m128i colours = _mm_set1_epi32(0x00FFFFFF);
    const __m128i words = _mm_and_si128(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), colours);
    return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(words));
  }

  // Output columns i and i + 1 of four rows: two taps a step, the halves added at the end.
  PIXMORPH_INLINE_MEMBER static void SumColumns(const FloatAxis& axis, const FloatStretch<TwoPixels>& stretch,
                                                std::int32_t i, F (&sums)[4]) {
    SumColumn(axis, stretch, i, sums[0], sums[1]);
    SumColumn(axis, stretch, i + 1, sums[2], sums[3]);
  }

  // Eight pixels to bytes, clamped; a bit for each that has a channel too near a rounding boundary.
  PIXMORPH_INLINE_MEMBER static std::uint32_t Finish(const F (&sums)[4], float sure, std::uint8_t* out) {
    __m256i whole[4];
    __m256 off[4];
    for (int n = 0; n < 4; ++n) {
      whole[n] = _mm256_cvtps_epi32(sums[n]);
      const __m256 distance = _mm256_sub_ps(sums[n], _mm256_cvtepi32_ps(whole[n]));
      off[n] = _mm256_andnot_ps(_mm256_set1_ps(-0.0f), distance);
    }
    const __m256i low = _mm256_packs_epi32(whole[0], whole[1]), high = _mm256_packs_epi32(whole[2], whole[3]);
    const __m256i inOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    _mm256_store_si256(reinterpret_cast<__m256i*>(out),
                       _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), inOrder));
    const __m256 limit = _mm256_set1_ps(sure);
    const __m256 most = _mm256_max_ps(_mm256_max_ps(off[0], off[1]), _mm256_max_ps(off[2], off[3]));
    if (__builtin_expect(_mm256_movemask_ps(_mm256_cmp_ps(most, limit, _CMP_GT_OQ)) == 0, 1)) return 0;
    std::uint32_t unsure = 0;
    for (int n = 0; n < 4; ++n) {
      const int bits = _mm256_movemask_ps(_mm256_cmp_ps(off[n], limit, _CMP_GT_OQ));
      unsure |= ((bits & 0x0F) != 0 ? 1u : 0u) << (2 * n) | ((bits & 0xF0) != 0 ? 2u : 0u) << (2 * n);
    }
    return unsure;
  }

 private:
  // Rows 0 and 1 in one vector, rows 2 and 3 in the other.
  PIXMORPH_INLINE_MEMBER static void SumColumn(const FloatAxis& axis, const FloatStretch<TwoPixels>& stretch,
                                               std::int32_t i, F& rows01, F& rows23) {
    const std::int32_t column = i < axis.exact.count ? i : axis.exact.count - 1;
    const WeightList& list = axis.exact.lists[column];
    const FloatBlock& block = axis.blocks[list.block];
    const float* weights = axis.weights + block.offset;
    const float* source = stretch.At(list.first);
    const std::ptrdiff_t stride = stretch.Stride();
    const __m256i eachFourTimes = _mm256_setr_epi32(0, 0, 0, 0, 1, 1, 1, 1);
    F a = _mm256_insertf128_ps(Zero(), _mm_set1_ps(block.start), 0), b = a, c = a, d = a;
    for (std::int32_t t = block.count; t > 0; t -= 2, source += 8, weights += 2) {
      const F both = _mm256_castsi256_ps(
          _mm256_broadcastq_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(weights))));
      const F weight = _mm256_permutevar_ps(both, eachFourTimes);
      a = MultiplyAdd(_mm256_loadu_ps(source), weight, a);
      b = MultiplyAdd(_mm256_loadu_ps(source + stride), weight, b);
      c = MultiplyAdd(_mm256_loadu_ps(source + 2 * stride), weight, c);
      d = MultiplyAdd(_mm256_loadu_ps(source + 3 * stride), weight, d);
    }
    rows01 = _mm256_add_ps(_mm256_permute2f128_ps(a, b, 0x20), _mm256_permute2f128_ps(a, b, 0x31));
    rows23 = _mm256_add_ps(_mm256_permute2f128_ps(c, d, 0x20), _mm256_permute2f128_ps(c, d, 0x31));
  }
};
using Passes = FloatPasses<TwoPixels>;

}  // namespace

extern const ResampleKernels kResampleAvx2 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                              Passes::PlanBytes, Passes::Plan};

}  // namespace pixmorph::kernels
