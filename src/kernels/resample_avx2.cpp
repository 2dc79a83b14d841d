#include "kernels/intrinsics.h"
#include "kernels/resample_averages.h"
#include "kernels/resample_float_simd.h"
#include "kernels/resample_pair_simd.h"

namespace pixmorph::kernels {

namespace {

// 16 lanes of 16 bits.
struct Words256 {
  using Self = Words256;
  static constexpr std::int32_t kLanes = 16;
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
  // -1 for negative lanes, else 0.
  PIXMORPH_OP Signs(Self a) { return {_mm256_srai_epi16(a.r, 15)}; }
  // Of each 16 bytes the first or the last eight as lanes, and back.
  PIXMORPH_OP Low(Self a) { return {_mm256_unpacklo_epi8(a.r, _mm256_setzero_si256())}; }
  PIXMORPH_OP High(Self a) { return {_mm256_unpackhi_epi8(a.r, _mm256_setzero_si256())}; }
  PIXMORPH_OP Pack(Self low, Self high) { return {_mm256_packus_epi16(low.r, high.r)}; }
  // Pixels with another top byte.
  PIXMORPH_OP WithTop(Self a, std::uint32_t top) {
    const auto colours = _mm256_and_si256(a.r, _mm256_set1_epi32(0x00FFFFFF));
    return {_mm256_or_si256(colours, _mm256_set1_epi32(static_cast<std::int32_t>(top)))};
  }

  // Pixels at columns counted from `from`, below `rest` and kReach.
  static constexpr std::int32_t kReach = 16;
  PIXMORPH_OP Gather(const std::uint8_t* from, std::int32_t rest, const std::int32_t* columns) {
    alignas(32) std::uint8_t inside[4 * kReach];
    if (rest < kReach) from = Copied(inside, from, rest);
    const __m256i places = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(columns));
    const __m256i low = _mm256_permutevar8x32_epi32(LoadBytes(from).r, places);
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

  // Of slots, where top bytes are 0.
  PIXMORPH_INLINE_MEMBER static F FromSlot(const std::uint8_t* p) {
    return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
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

using Averages = AveragePasses<kAreaAverageAvx2, false>;
using Pairs = PairPasses<Words256>;

}  // namespace

extern const ResampleKernels kResampleAvx2 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                              PlanBytesOfAny<Averages, Pairs, Passes>,
                                              PlanFirst<Averages, Pairs, Passes>};

}  // namespace pixmorph::kernels
