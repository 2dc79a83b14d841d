#ifndef PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_
#define PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_

#include <emmintrin.h>

#include "kernels/pixels_sse.h"
#include "kernels/resample_pair_simd.h"
#include "kernels/resample_pair_spread.h"

namespace pixmorph::kernels {

namespace {

// 8 lanes of 16 bits.
struct Words128 {
  using Self = Words128;
  static constexpr std::int32_t kLanes = 8;
  using Spread = PairSpread<Words128>;
  __m128i r;

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Self
  PIXMORPH_OP LoadBytes(const void* p) { return {_mm_loadu_si128(static_cast<const __m128i*>(p))}; }
  PIXMORPH_OP Load(const std::int16_t* p) { return LoadBytes(p); }
  PIXMORPH_INLINE_MEMBER static void StoreBytes(std::uint8_t* p, Self a) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), a.r);
  }
  // Past the caches; aligned. `EndStreaming` orders what was streamed before what is stored later.
  PIXMORPH_INLINE_MEMBER static void EndStreaming() { _mm_sfence(); }
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* p, Self a) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(p), a.r);
  }
  PIXMORPH_OP Set(std::int16_t x) { return {_mm_set1_epi16(x)}; }
  PIXMORPH_OP Add(Self a, Self b) { return {_mm_add_epi16(a.r, b.r)}; }
  PIXMORPH_OP AddSaturated(Self a, Self b) { return {_mm_adds_epi16(a.r, b.r)}; }
  PIXMORPH_OP Subtract(Self a, Self b) { return {_mm_sub_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyLow(Self a, Self b) { return {_mm_mullo_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyHigh(Self a, Self b) { return {_mm_mulhi_epi16(a.r, b.r)}; }
  PIXMORPH_OP Xor(Self a, Self b) { return {_mm_xor_si128(a.r, b.r)}; }
  // Bytes: the average of two, halves rounded up.
  PIXMORPH_OP AverageBytes(Self a, Self b) { return {_mm_avg_epu8(a.r, b.r)}; }
  // Bytes: one pixel everywhere.
  template <int kPixel>
  PIXMORPH_OP Everywhere(Self a) {
    return {_mm_shuffle_epi32(a.r, kPixel * 0x55)};
  }
  // The top bit of each lane: 0 or 1.
  PIXMORPH_OP TopBits(Self a) { return {_mm_srli_epi16(a.r, 15)}; }
  // a, and one more where `sign` is not negative.
  PIXMORPH_OP OneMoreIfNotNegative(Self a, Self sign) {
    return {_mm_sub_epi16(a.r, _mm_cmpgt_epi16(sign.r, _mm_set1_epi16(-1)))};
  }
  // Of each 16 bytes the first or the last eight as lanes, and back.
  PIXMORPH_OP Low(Self a) { return {_mm_unpacklo_epi8(a.r, _mm_setzero_si128())}; }
  PIXMORPH_OP High(Self a) { return {_mm_unpackhi_epi8(a.r, _mm_setzero_si128())}; }
  PIXMORPH_OP Pack(Self low, Self high) { return {_mm_packus_epi16(low.r, high.r)}; }
  // Pixels with another top byte.
  PIXMORPH_OP WithTop(Self a, std::uint32_t top) {
    return {kernels::WithTop(a.r, _mm_set1_epi32(static_cast<std::int32_t>(top)))};
  }

  // Pixels at columns counted from `from`, below `rest` and kWindow.
  static constexpr std::int32_t kReach = INT32_MAX, kNearReach = kReach;
  template <std::int32_t kWindow>
  PIXMORPH_OP Gather(const std::uint8_t* from, std::int32_t, const std::int32_t* columns) {
    return {GatherPixels(from, columns)};
  }
#undef PIXMORPH_OP
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_
