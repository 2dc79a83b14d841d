#include "kernels/intrinsics.h"
#include "kernels/resample_averages.h"
#include "kernels/resample_pair_simd.h"
#include "kernels/resample_pair_spread.h"
#include "kernels/resample_plan_first.h"
#include "kernels/resample_quads_avx512.h"

namespace pixmorph::kernels {

namespace {

// 32 lanes of 16 bits.
struct Words512 {
  using Self = Words512;
  static constexpr std::int32_t kLanes = 32;
  using Spread = NoPairSpread;
  __m512i r;

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Self
  PIXMORPH_OP LoadBytes(const void* p) { return {_mm512_loadu_si512(p)}; }
  PIXMORPH_OP Load(const std::int16_t* p) { return LoadBytes(p); }
  PIXMORPH_INLINE_MEMBER static void StoreBytes(std::uint8_t* p, Self a) { _mm512_storeu_si512(p, a.r); }
  // Past the caches; aligned. `EndStreaming` orders what was streamed before what is stored later.
  PIXMORPH_INLINE_MEMBER static void EndStreaming() { _mm_sfence(); }
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* p, Self a) {
    _mm512_stream_si512(reinterpret_cast<__m512i*>(p), a.r);
  }
  PIXMORPH_OP Set(std::int16_t x) { return {_mm512_set1_epi16(x)}; }
  PIXMORPH_OP Add(Self a, Self b) { return {_mm512_add_epi16(a.r, b.r)}; }
  PIXMORPH_OP AddSaturated(Self a, Self b) { return {_mm512_adds_epi16(a.r, b.r)}; }
  PIXMORPH_OP Subtract(Self a, Self b) { return {_mm512_sub_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyLow(Self a, Self b) { return {_mm512_mullo_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyHigh(Self a, Self b) { return {_mm512_mulhi_epi16(a.r, b.r)}; }
  PIXMORPH_OP Xor(Self a, Self b) { return {_mm512_xor_si512(a.r, b.r)}; }
  // Bytes: the average of two, halves rounded up.
  PIXMORPH_OP AverageBytes(Self a, Self b) { return {_mm512_avg_epu8(a.r, b.r)}; }
  // The top bit of each lane: 0 or 1.
  PIXMORPH_OP TopBits(Self a) { return {_mm512_srli_epi16(a.r, 15)}; }
  // a, and one more where `sign` is not negative.
  PIXMORPH_OP OneMoreIfNotNegative(Self a, Self sign) {
    const __mmask32 negative = _mm512_movepi16_mask(sign.r);
    return {_mm512_mask_sub_epi16(a.r, ~negative, a.r, _mm512_set1_epi16(-1))};
  }
  // Of each 16 bytes the first or the last eight as lanes, and back.
  PIXMORPH_OP Low(Self a) { return {_mm512_unpacklo_epi8(a.r, _mm512_setzero_si512())}; }
  PIXMORPH_OP High(Self a) { return {_mm512_unpackhi_epi8(a.r, _mm512_setzero_si512())}; }
  PIXMORPH_OP Pack(Self low, Self high) { return {_mm512_packus_epi16(low.r, high.r)}; }
  // Pixels with another top byte.
  PIXMORPH_OP WithTop(Self a, std::uint32_t top) {
    return {_mm512_ternarylogic_epi32(a.r, _mm512_set1_epi32(0x00FFFFFF),
                                      _mm512_set1_epi32(static_cast<std::int32_t>(top)), 0xEA)};
  }

  // Pixels at columns counted from `from`, below `rest` and kWindow: kReach or kNearReach.
  static constexpr std::int32_t kReach = 32, kNearReach = 16;
  template <std::int32_t kWindow>
  PIXMORPH_OP Gather(const std::uint8_t* from, std::int32_t rest, const std::int32_t* columns) {
    const __m512i places = _mm512_loadu_si512(columns);
    if (kWindow == kNearReach && rest >= 16) return {_mm512_permutexvar_epi32(places, LoadVector(from))};
    // A masked load that is not aligned takes far longer than a plain one.
    if (kWindow == kReach && rest >= 32)
      return {_mm512_permutex2var_epi32(LoadVector(from), places, LoadVector(from + 64))};
    const std::uint32_t inside = (1u << rest) - 1;
    const __m512i low = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(inside & 0xFFFF), from);
    const __m512i high = _mm512_maskz_loadu_epi32(static_cast<__mmask16>(inside >> 16), from + 64);
    return {_mm512_permutex2var_epi32(low, places, high)};
  }
#undef PIXMORPH_OP
};

// Rows go a little faster by half vectors; boxes that don't tile, by the general passes.
using Averages = AveragePasses<kAreaAverageAvx2, 1>;
using Pairs = PairPasses<Words512>;

}  // namespace

extern const ResampleKernels kResampleAvx512 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                                PlanBytesOfAny<Averages, Pairs, QuadPasses>,
                                                PlanFirst<Averages, Pairs, QuadPasses>};

}  // namespace pixmorph::kernels
