#ifndef PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_
#define PIXMORPH_KERNELS_RESAMPLE_VEC_SSE_H_

#include <emmintrin.h>

#include "kernels/resample_float_simd.h"
#include "kernels/resample_pair_simd.h"

namespace pixmorph::kernels {

namespace {

// 8 lanes of 16 bits.
struct Words128 {
  using Self = Words128;
  static constexpr std::int32_t kLanes = 8;
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
  // -1 for negative lanes, else 0.
  PIXMORPH_OP Signs(Self a) { return {_mm_srai_epi16(a.r, 15)}; }
  // Of each 16 bytes the first or the last eight as lanes, and back.
  PIXMORPH_OP Low(Self a) { return {_mm_unpacklo_epi8(a.r, _mm_setzero_si128())}; }
  PIXMORPH_OP High(Self a) { return {_mm_unpackhi_epi8(a.r, _mm_setzero_si128())}; }
  PIXMORPH_OP Pack(Self low, Self high) { return {_mm_packus_epi16(low.r, high.r)}; }
  // Pixels with another top byte.
  PIXMORPH_OP WithTop(Self a, std::uint32_t top) {
    const auto colours = _mm_and_si128(a.r, _mm_set1_epi32(0x00FFFFFF));
    return {_mm_or_si128(colours, _mm_set1_epi32(static_cast<std::int32_t>(top)))};
  }

  // Pixels at columns counted from `from`, below `rest` and kReach.
  static constexpr std::int32_t kReach = INT32_MAX;
  PIXMORPH_OP Gather(const std::uint8_t* from, std::int32_t, const std::int32_t* columns) {
    const auto at = [from, columns](int n) {
      return _mm_loadu_si32(from + 4 * static_cast<std::ptrdiff_t>(columns[n]));
    };
    const __m128i low = _mm_unpacklo_epi32(at(0), at(1)), high = _mm_unpacklo_epi32(at(2), at(3));
    return {_mm_unpacklo_epi64(low, high)};
  }
#undef PIXMORPH_OP
};

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

  // Of slots, where top bytes are 0.
  PIXMORPH_INLINE_MEMBER static F FromSlot(const std::uint8_t* p) {
    return _mm_cvtepi32_ps(Widen::Bytes(_mm_loadu_si32(p)));
  }

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
