#ifndef PIXMORPH_KERNELS_RESAMPLE_QUAD_REDO_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUAD_REDO_AVX512_H_

#include "kernels/intrinsics.h"
#include "kernels/resample_kernel.h"

// The plain evaluation of single pixels out of quads, for those whose sums can't be sure.
namespace pixmorph::kernels {

namespace {

using Bytes16 = __m128i;

// The four channels of one pixel as the plain evaluation gives them. Products of a float and a byte are exact
// in double, so a fused multiply-add rounds exactly where the plain sum does.
class PlainSum {
 public:
  PIXMORPH_INLINE_MEMBER PlainSum() : sum_(_mm256_setzero_pd()) {}
  PIXMORPH_INLINE_MEMBER void Add(float weight, __m128i channels) {
    sum_ = _mm256_fmadd_pd(_mm256_set1_pd(static_cast<double>(weight)), _mm256_cvtepi32_pd(channels), sum_);
  }
  // As one 32-bit pixel.
  PIXMORPH_INLINE_MEMBER std::uint32_t Pixel(float weightSum) const {
    const __m256d quotient = _mm256_div_pd(sum_, _mm256_set1_pd(static_cast<double>(weightSum)));
    const __m128i whole = _mm256_cvttpd_epi32(_mm256_add_pd(quotient, _mm256_set1_pd(0.5)));
    const __m128i words = _mm_packs_epi32(whole, whole);
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
  }

 private:
  __m256d sum_;
};

// By halves: a 64-bit count of zeros would be a call into a newer libgcc_s than old systems have. `bits`
// isn't 0.
PIXMORPH_INLINE std::int32_t LowestBit(std::uint64_t bits) {
  const auto low = static_cast<std::uint32_t>(bits);
  return low ? __builtin_ctz(low) : 32 + __builtin_ctz(static_cast<std::uint32_t>(bits >> 32));
}

// The number of the lowest group of four bits that has one, which is then cleared.
PIXMORPH_INLINE std::int32_t TakeFirst(std::uint64_t& bits) {
  const std::int32_t group = LowestBit(bits) / 4;
  bits &= ~(std::uint64_t{0xF} << (4 * group));
  return group;
}

// Output columns i .. i + 3 of one batch again, where `unsure` has a bit: 16 bits a column, four a row.
__attribute__((noinline)) void RedoColumns(const FusedPlan& plan, const std::uint8_t* const* rows,
                                           std::int32_t i, std::uint64_t unsure, std::uint8_t* slot) {
  const AxisWeights& exact = plan.rowQuads.exact;
  while (unsure != 0) {
    const std::int32_t n = TakeFirst(unsure);
    const std::int32_t column = i + n / 4 < exact.count ? i + n / 4 : exact.count - 1;
    const WeightList& list = exact.lists[column];
    const WeightBlock& block = exact.blocks[list.block];
    const float* const weights = exact.weights + block.offset;
    const std::uint8_t* pixel = rows[n % 4] + 4 * static_cast<std::ptrdiff_t>(list.first);
    PlainSum sum;
    for (std::int32_t t = 0; t < block.count; ++t, pixel += 4)
      sum.Add(weights[t], _mm_cvtepu8_epi32(_mm_loadu_si32(pixel)));
    const std::uint32_t result = sum.Pixel(block.sum);
    std::uint8_t* const out = slot + 16 * static_cast<std::ptrdiff_t>(i + n / 4) + n % 4;
    for (std::int32_t c = 0; c < 4; ++c) out[4 * c] = static_cast<std::uint8_t>(result >> (8 * c));
  }
}

// Output pixels of row r again, where `unsure` has one of a pixel's four bits; `slots` and `out` are at the
// first.
__attribute__((noinline)) void RedoPixels(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots,
                                          std::uint64_t unsure, std::uint8_t* out, std::uint32_t top) {
  const AxisWeights& exact = plan.columnQuads.exact;
  const WeightList& list = exact.lists[r];
  const WeightBlock& block = exact.blocks[list.block];
  const float* const weights = exact.weights + block.offset;
  const auto stride = static_cast<std::ptrdiff_t>(plan.slotBytes);
  while (unsure != 0) {
    const std::int32_t x = TakeFirst(unsure);
    const std::uint8_t* const pixel = slots + 16 * x;
    PlainSum sum;
    for (std::int32_t t = 0; t < block.count; ++t) {
      const std::int32_t row = list.first % 4 + t;
      const __m128i quad = _mm_loadu_si128(reinterpret_cast<const Bytes16*>(pixel + row / 4 * stride));
      const __m128i bytes = _mm_srl_epi32(quad, _mm_cvtsi32_si128(row % 4 * 8));
      sum.Add(weights[t], _mm_and_si128(bytes, _mm_set1_epi32(0xFF)));
    }
    const std::uint32_t result = (sum.Pixel(block.sum) & 0x00FFFFFFu) | top;
    _mm_storeu_si32(out + 4 * x, _mm_cvtsi32_si128(static_cast<std::int32_t>(result)));
  }
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUAD_REDO_AVX512_H_
