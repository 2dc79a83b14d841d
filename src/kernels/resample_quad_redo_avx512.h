#ifndef PIXMORPH_KERNELS_RESAMPLE_QUAD_REDO_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUAD_REDO_AVX512_H_

#include "kernels/intrinsics.h"
#include "kernels/resample_kernel.h"
#include "kernels/resample_quad_slots_avx512.h"
#include "kernels/resample_unsure.h"

// The plain evaluation of single pixels out of quads, for those whose sums can't be sure.
namespace pixmorph::kernels {

namespace {

// The three channels of one column in a slot, each with the bytes of four rows.
PIXMORPH_INLINE __m128i ChannelsAt(const std::uint8_t* slot) {
  const __m128i first = _mm_loadu_si32(slot), second = _mm_loadu_si32(slot + kChannelBytes);
  return _mm_unpacklo_epi64(_mm_unpacklo_epi32(first, second), _mm_loadu_si32(slot + 2 * kChannelBytes));
}

// The four channels of one pixel as the plain evaluation gives them. Products of a float and a byte are exact
// in double, so a fused multiply-add rounds exactly where the plain sum does. Where the order of the taps
// makes no difference every other one goes to a sum of its own, so that two additions can run at once.
class PlainSum {
 public:
  PIXMORPH_INLINE_MEMBER PlainSum(const AxisWeights& exact, const WeightBlock& block)
      : weights_(exact.weights + block.offset),
        weightSum_(block.sum),
        anyOrder_(block.exactSums),
        sum_(_mm256_setzero_pd()),
        second_(_mm256_setzero_pd()) {}
  PIXMORPH_INLINE_MEMBER void Add(std::int32_t tap, __m128i channels) {
    const __m256d weight = _mm256_set1_pd(static_cast<double>(weights_[tap]));
    if (anyOrder_ && tap % 2 != 0)
      second_ = _mm256_fmadd_pd(weight, _mm256_cvtepi32_pd(channels), second_);
    else
      sum_ = _mm256_fmadd_pd(weight, _mm256_cvtepi32_pd(channels), sum_);
  }
  // As one 32-bit pixel.
  PIXMORPH_INLINE_MEMBER std::uint32_t Pixel() const {
    const __m256d weightSum = _mm256_set1_pd(static_cast<double>(weightSum_));
    const __m256d quotient = _mm256_div_pd(_mm256_add_pd(sum_, second_), weightSum);
    const __m128i whole = _mm256_cvttpd_epi32(_mm256_add_pd(quotient, _mm256_set1_pd(0.5)));
    const __m128i words = _mm_packs_epi32(whole, whole);
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
  }

 private:
  const float* const weights_;
  const float weightSum_;
  const bool anyOrder_;
  __m256d sum_, second_;
};

// One row of an output column again; `slot` is at the column.
__attribute__((noinline)) void RedoColumn(const AxisWeights& exact, std::int32_t column,
                                          const std::uint8_t* row, std::uint8_t* slot) {
  const WeightList& list = exact.lists[column];
  const WeightBlock& block = exact.blocks[list.block];
  const std::uint8_t* pixel = row + 4 * static_cast<std::ptrdiff_t>(list.first);
  PlainSum sum(exact, block);
  for (std::int32_t t = 0; t < block.count; ++t, pixel += 4)
    sum.Add(t, _mm_cvtepu8_epi32(_mm_loadu_si32(pixel)));
  const std::uint32_t result = sum.Pixel();
  for (std::int32_t c = 0; c < 3; ++c) slot[kChannelBytes * c] = static_cast<std::uint8_t>(result >> (8 * c));
}

// An output pixel of row r again; `slots` is at its column.
__attribute__((noinline)) void RedoPixel(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots,
                                         std::uint8_t* out, std::uint32_t top) {
  const AxisWeights& exact = plan.columnQuads.exact;
  const WeightList& list = exact.lists[r];
  const WeightBlock& block = exact.blocks[list.block];
  const auto stride = static_cast<std::ptrdiff_t>(plan.slotBytes);
  PlainSum sum(exact, block);
  __m128i quad = _mm_setzero_si128();
  for (std::int32_t t = 0; t < block.count; ++t) {
    const std::int32_t row = list.first % 4 + t;
    if (t == 0 || row % 4 == 0) quad = ChannelsAt(slots + row / 4 * stride);
    const __m128i bytes = _mm_srl_epi32(quad, _mm_cvtsi32_si128(row % 4 * 8));
    sum.Add(t, _mm_and_si128(bytes, _mm_set1_epi32(0xFF)));
  }
  const std::uint32_t result = (sum.Pixel() & 0x00FFFFFFu) | top;
  _mm_storeu_si32(out, _mm_cvtsi32_si128(static_cast<std::int32_t>(result)));
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUAD_REDO_AVX512_H_
