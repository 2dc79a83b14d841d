#include "kernels/intrinsics.h"
#include "kernels/resample_averages.h"
#include "kernels/resample_pair_simd.h"
#include "kernels/resample_pair_spread.h"
#include "kernels/resample_plan_first.h"
#include "kernels/resample_word_vec_avx2.h"

namespace pixmorph::kernels {

namespace {

// 16 lanes of 16 bits.
struct Words256 {
  using Self = Words256;
  static constexpr std::int32_t kLanes = 16;
  using Spread = NoPairSpread;
  __m256i r;

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Self
  PIXMORPH_OP LoadBytes(const void* p) { return {_mm256_loadu_si256(static_cast<const __m256i*>(p))}; }
  PIXMORPH_OP Load(const std::int16_t* p) { return LoadBytes(p); }
  PIXMORPH_INLINE_MEMBER static void StoreBytes(std::uint8_t* p, Self a) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), a.r);
  }
  // Past the caches; aligned. `EndStreaming` orders what was streamed before what is stored later.
  PIXMORPH_INLINE_MEMBER static void EndStreaming() { _mm_sfence(); }
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* p, Self a) {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(p), a.r);
  }
  PIXMORPH_OP Set(std::int16_t x) { return {_mm256_set1_epi16(x)}; }
  PIXMORPH_OP Add(Self a, Self b) { return {_mm256_add_epi16(a.r, b.r)}; }
  PIXMORPH_OP AddSaturated(Self a, Self b) { return {_mm256_adds_epi16(a.r, b.r)}; }
  PIXMORPH_OP Subtract(Self a, Self b) { return {_mm256_sub_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyLow(Self a, Self b) { return {_mm256_mullo_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyHigh(Self a, Self b) { return {_mm256_mulhi_epi16(a.r, b.r)}; }
  PIXMORPH_OP Xor(Self a, Self b) { return {_mm256_xor_si256(a.r, b.r)}; }
  // Bytes: the average of two, halves rounded up.
  PIXMORPH_OP AverageBytes(Self a, Self b) { return {_mm256_avg_epu8(a.r, b.r)}; }
  // The top bit of each lane: 0 or 1.
  PIXMORPH_OP TopBits(Self a) { return {_mm256_srli_epi16(a.r, 15)}; }
  // a, and one more where `sign` is not negative.
  PIXMORPH_OP OneMoreIfNotNegative(Self a, Self sign) {
    return {_mm256_sub_epi16(a.r, _mm256_cmpgt_epi16(sign.r, _mm256_set1_epi16(-1)))};
  }
  // Of each 16 bytes the first or the last eight as lanes, and back.
  PIXMORPH_OP Low(Self a) { return {_mm256_unpacklo_epi8(a.r, _mm256_setzero_si256())}; }
  PIXMORPH_OP High(Self a) { return {_mm256_unpackhi_epi8(a.r, _mm256_setzero_si256())}; }
  PIXMORPH_OP Pack(Self low, Self high) { return {_mm256_packus_epi16(low.r, high.r)}; }
  // Pixels with another top byte.
  PIXMORPH_OP WithTop(Self a, std::uint32_t top) {
    const auto colours = _mm256_and_si256(a.r, _mm256_set1_epi32(0x00FFFFFF));
    return {_mm256_or_si256(colours, _mm256_set1_epi32(static_cast<std::int32_t>(top)))};
  }

  // Pixels at columns counted from `from`, below `rest` and kWindow: kReach or kNearReach.
  static constexpr std::int32_t kReach = 16, kNearReach = 8;
  template <std::int32_t kWindow>
  PIXMORPH_OP Gather(const std::uint8_t* from, std::int32_t rest, const std::int32_t* columns) {
    alignas(32) std::uint8_t inside[4 * kReach];
    if (rest < kWindow) from = Copied(inside, from, rest);
    const __m256i places = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(columns));
    const __m256i low = _mm256_permutevar8x32_epi32(LoadBytes(from).r, places);
    if (kWindow == kNearReach) return {low};
    const __m256i high = _mm256_permutevar8x32_epi32(LoadBytes(from + 32).r, places);
    return {_mm256_blendv_epi8(low, high, _mm256_cmpgt_epi32(places, _mm256_set1_epi32(7)))};
  }
  // `count` pixels, and zeros behind them.
  static __attribute__((noinline)) const std::uint8_t* Copied(std::uint8_t (&to)[4 * kReach],
                                                              const std::uint8_t* from, std::int32_t count) {
    std::memset(to, 0, sizeof to);
    std::memcpy(to, from, 4 * static_cast<std::uint32_t>(count));
    return to;
  }
#undef PIXMORPH_OP
};

using Passes = WordPasses<EightSums>;

using Averages = AveragePasses<kAreaAverageAvx2, 3>;
using Pairs = PairPasses<Words256>;

}  // namespace

extern const ResampleKernels kResampleAvx2 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                              PlanBytesOfAny<Averages, Pairs, Passes>,
                                              PlanFirst<Averages, Pairs, Passes>};

}  // namespace pixmorph::kernels
