#ifndef PIXMORPH_KERNELS_SMOOTH_ENLARGE_WOVEN_H_
#define PIXMORPH_KERNELS_SMOOTH_ENLARGE_WOVEN_H_

#include <emmintrin.h>

#include "kernels/smooth_enlarge_kernel.h"

// The smooth enlargement for levels with vectors of four floats: a line holds the four channels of a pixel
// side by side, so that a neighbour is one load. For inclusion by the files of those levels.
//
// Values are 65536 times the byte, so that a truncated value is the byte above 16 bits of fraction. In float
// the two products and two sums each round a value below 2^24 by at most half a unit, and truncation takes
// less than one more: the result is within 3 of the double evaluation, which itself errs by far less than a
// unit. Where it lies within 4 of a multiple of 65536 the pixel is evaluated in double; elsewhere both
// truncate to the same byte. Exact weights on both axes make integers below 2^24, which need neither test nor
// margin.
namespace pixmorph::kernels {
namespace {

constexpr float kHalf = 0.5f * kSmoothWeightScale;
constexpr float kMargin = 4.0f;  // added, so that the risky values become 0 .. 7 above a multiple
constexpr std::int32_t kRiskyIfZero = 0xFFF8;  // these bits of such a value are 0

PIXMORPH_INLINE __m128i LoadPixel(const std::uint8_t* p) {
  std::int32_t pixel = 0;
  __builtin_memcpy(&pixel, p, 4);
  return _mm_cvtsi32_si128(pixel);
}

template <class V>
std::int32_t UnpackLine(float* line, const std::uint8_t* row, std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x)
    _mm_store_ps(line + x * 4, _mm_cvtepi32_ps(V::Widen(LoadPixel(row + x * 4))));
  _mm_store_ps(line + width * 4, _mm_load_ps(line + width * 4 - 4));
  return -1;  // four channels at once cost no more than three
}

template <class V>
void BlendLines(float* out, const float* upper, const float* lower, float weight0, float weight1,
                std::int32_t width, bool /*withTop*/) {
  const __m128 w0 = _mm_set1_ps(weight0), w1 = _mm_set1_ps(weight1);
  for (std::int32_t i = 0; i < width * 4 + 4; i += 4) {
    const __m128 above = _mm_mul_ps(_mm_load_ps(upper + i), w0);
    _mm_store_ps(out + i, _mm_add_ps(above, _mm_mul_ps(_mm_load_ps(lower + i), w1)));
  }
}

PIXMORPH_INLINE __m128i PixelValues(const float* sample, const SmoothColumns& columns, std::int32_t x,
                                    __m128 addend) {
  const __m128 near = _mm_mul_ps(_mm_load_ps(sample), _mm_set1_ps(columns.weight0[x]));
  const __m128 far = _mm_mul_ps(_mm_load_ps(sample + 4), _mm_set1_ps(columns.weight1[x]));
  return _mm_cvttps_epi32(_mm_add_ps(_mm_add_ps(near, far), addend));
}

__attribute__((noinline)) __m128i ExactPixelValues(const float* sample, const SmoothColumns& columns,
                                                   std::int32_t x) {
  const __m128d w0 = _mm_set1_pd(double{columns.weight0[x]}), w1 = _mm_set1_pd(double{columns.weight1[x]});
  const auto two = [&](int channel) {
    const auto samples = [channel](const float* p) {
      return _mm_cvtps_pd(_mm_castsi128_ps(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + channel))));
    };
    const __m128d first = _mm_add_pd(_mm_set1_pd(double{kHalf}), _mm_mul_pd(samples(sample), w0));
    return _mm_cvttpd_epi32(_mm_add_pd(first, _mm_mul_pd(samples(sample + 4), w1)));
  };
  return _mm_unpacklo_epi64(two(0), two(2));
}

// Four channel bytes as 32-bit lanes of one new pixel. kTested: false where all weights are exact.
template <bool kTested, bool kExactLine>
PIXMORPH_INLINE __m128i NewPixel(const float* line, const SmoothColumns& columns, std::int32_t x) {
  const float* sample = line + static_cast<std::ptrdiff_t>(columns.index[x]) * 4;
  if (!kTested || (kExactLine && columns.exactMask[x] != 0))
    return _mm_srli_epi32(PixelValues(sample, columns, x, _mm_set1_ps(kHalf)), 16);
  __m128i values = PixelValues(sample, columns, x, _mm_set1_ps(kHalf + kMargin));
  const __m128i bits = _mm_and_si128(values, _mm_set1_epi32(kRiskyIfZero));
  if (_mm_movemask_epi8(_mm_cmpeq_epi32(bits, _mm_setzero_si128())) != 0)
    values = ExactPixelValues(sample, columns, x);
  return _mm_srli_epi32(values, 16);
}

template <bool kTested, bool kExactLine>
PIXMORPH_INLINE __m128i FourPixels(const float* line, const SmoothColumns& columns, std::int32_t x) {
  const auto pixel = [&](std::int32_t at) { return NewPixel<kTested, kExactLine>(line, columns, at); };
  const __m128i low = _mm_packs_epi32(pixel(x), pixel(x + 1));
  return _mm_packus_epi16(low, _mm_packs_epi32(pixel(x + 2), pixel(x + 3)));
}

template <bool kTested, bool kExactLine>
PIXMORPH_INLINE void InterpolateLineOf(std::uint8_t* out, const float* line, const SmoothColumns& columns) {
  std::int32_t x = 0;
  for (; x + 4 <= columns.count; x += 4)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x * 4),
                     FourPixels<kTested, kExactLine>(line, columns, x));
  for (; x < columns.count; ++x) {
    const __m128i lanes =
        _mm_packs_epi32(NewPixel<kTested, kExactLine>(line, columns, x), _mm_setzero_si128());
    const std::int32_t packed = _mm_cvtsi128_si32(_mm_packus_epi16(lanes, lanes));
    __builtin_memcpy(out + x * 4, &packed, 4);
  }
}

template <class V>
void InterpolateLine(std::uint8_t* out, const SmoothLine& line, const SmoothColumns& columns) {
  if (!line.exact) return InterpolateLineOf<true, false>(out, line.values, columns);
  if (!columns.allExact) return InterpolateLineOf<true, true>(out, line.values, columns);
  InterpolateLineOf<false, true>(out, line.values, columns);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_SMOOTH_ENLARGE_WOVEN_H_
