#ifndef PIXMORPH_KERNELS_RESAMPLE_PLAIN_SAMPLES_H_
#define PIXMORPH_KERNELS_RESAMPLE_PLAIN_SAMPLES_H_

#include <emmintrin.h>

#include "kernels/resample_kernel.h"
#include "kernels/resample_word_slots.h"

// The plain evaluation of single samples. Edges of two tones in the middle of a symmetric list are ties that
// nothing else decides, so line art has them by the thousand: where the order of the taps makes no difference
// two or four sums are worked on at once.
namespace pixmorph::kernels {

namespace {

// As `ref::ResampledChannel`, in the caller's own instructions: SSE code that is called out of AVX code may
// take several times as long.
PIXMORPH_INLINE std::uint8_t PlainChannel(double sum, float weightSum) {
  const double quotient = sum / static_cast<double>(weightSum), rounded = quotient + 0.5;
  const bool finite = quotient - quotient == 0.0;
  if (!finite || rounded < 1.0) return 0;
  return rounded >= 255.0 ? 255 : static_cast<std::uint8_t>(TruncateInRange(rounded));
}

// The sum of `channel` of the pixels from `pixel` on, of a block with exact sums.
PIXMORPH_INLINE double ExactPixelSum(const float* weights, std::int32_t count, const std::uint8_t* pixel,
                                     std::int32_t channel) {
  const __m128i shift = _mm_cvtsi32_si128(8 * channel);
  __m128d even = _mm_setzero_pd(), odd = even;
  std::int32_t t = 0;
  for (; t + 4 <= count; t += 4, pixel += 16) {
    const __m128i pixels = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pixel));
    const __m128i samples = _mm_and_si128(_mm_srl_epi32(pixels, shift), _mm_set1_epi32(0xFF));
    const __m128 four = _mm_loadu_ps(weights + t);
    const __m128i lastTwo = _mm_unpackhi_epi64(samples, samples);
    even = _mm_add_pd(even, _mm_mul_pd(_mm_cvtps_pd(four), _mm_cvtepi32_pd(samples)));
    odd = _mm_add_pd(odd, _mm_mul_pd(_mm_cvtps_pd(_mm_movehl_ps(four, four)), _mm_cvtepi32_pd(lastTwo)));
  }
  const __m128d both = _mm_add_pd(even, odd);
  double sum = _mm_cvtsd_f64(_mm_add_sd(both, _mm_unpackhi_pd(both, both)));
  for (; t < count; ++t, pixel += 4) sum += static_cast<double>(weights[t]) * pixel[channel];
  return sum;
}

// A channel of output column `column` of a source row.
__attribute__((noinline)) std::uint8_t PlainRowSample(const AxisWeights& axis, std::int32_t column,
                                                      const std::uint8_t* row, std::int32_t channel) {
  const WeightList& list = axis.lists[column];
  const WeightBlock& block = axis.blocks[list.block];
  const float* const weights = axis.weights + block.offset;
  const std::uint8_t* pixel = PixelAt(row, list.first);
  double sum = 0.0;
  if (block.exactSums) {
    sum = ExactPixelSum(weights, block.count, pixel, channel);
  } else {
    for (std::int32_t t = 0; t < block.count; ++t, pixel += 4)
      sum += static_cast<double>(weights[t]) * pixel[channel];
  }
  return PlainChannel(sum, block.sum);
}

// An output sample of row r; `woven` is its place in the first plane of the row's list.
__attribute__((noinline)) std::uint8_t PlainColumnSample(const AxisWeights& axis, std::int32_t r,
                                                         const std::uint8_t* woven, std::ptrdiff_t stride) {
  const WeightList& list = axis.lists[r];
  const WeightBlock& block = axis.blocks[list.block];
  const float *weight = axis.weights + block.offset, *const end = weight + block.count;
  double sum = 0.0, second = 0.0;
  if (list.first % 2 != 0) {
    sum = static_cast<double>(*weight++) * woven[1];
    woven += stride;
  }
  for (; end - weight >= 2; weight += 2, woven += stride) {
    sum += static_cast<double>(weight[0]) * woven[0];
    (block.exactSums ? second : sum) += static_cast<double>(weight[1]) * woven[1];
  }
  if (weight < end) sum += static_cast<double>(*weight) * woven[0];
  return PlainChannel(sum + second, block.sum);
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_PLAIN_SAMPLES_H_
