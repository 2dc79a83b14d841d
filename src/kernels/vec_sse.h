#ifndef PIXMORPH_KERNELS_VEC_SSE_H_
#define PIXMORPH_KERNELS_VEC_SSE_H_

#include <emmintrin.h>

#include <cstdint>

#include "kernels/vec_lookup.h"
#include "support/numeric.h"

// 16 bytes. `Ops` has what SSE4.1 and its predecessors do better than SSE2.
namespace pixmorph::kernels {
namespace {

template <class Ops>
struct VecSse {
  using Self = VecSse;
  static constexpr int kBytes = 16;
  static constexpr int kPixels = kBytes / 4;
  __m128i r;

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Self

  PIXMORPH_OP Load(const std::uint8_t* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
  PIXMORPH_OP LoadAligned(const std::uint8_t* p) {
    return {_mm_load_si128(reinterpret_cast<const __m128i*>(p))};
  }
  PIXMORPH_INLINE_MEMBER void Store(std::uint8_t* p) const {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), r);
  }
  PIXMORPH_INLINE_MEMBER void StoreAligned(std::uint8_t* p) const {
    _mm_store_si128(reinterpret_cast<__m128i*>(p), r);
  }
  PIXMORPH_INLINE_MEMBER static void Prefetch(const std::uint8_t* p) {
    _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T1);
  }
  // Past the caches; aligned. `EndStreaming` orders what was streamed before what is stored later.
  PIXMORPH_INLINE_MEMBER static void EndStreaming() { _mm_sfence(); }
  PIXMORPH_INLINE_MEMBER void Stream(std::uint8_t* p) const {
    _mm_stream_si128(reinterpret_cast<__m128i*>(p), r);
  }

  PIXMORPH_OP Zero() { return {_mm_setzero_si128()}; }
  PIXMORPH_OP Set16(std::int16_t v) { return {_mm_set1_epi16(v)}; }
  PIXMORPH_OP Set32(std::uint32_t v) { return {_mm_set1_epi32(static_cast<int>(v))}; }
  PIXMORPH_OP Set64(std::uint64_t v) { return {_mm_set1_epi64x(static_cast<long long>(v))}; }

  PIXMORPH_OP And(Self a, Self b) { return {_mm_and_si128(a.r, b.r)}; }
  PIXMORPH_OP Or(Self a, Self b) { return {_mm_or_si128(a.r, b.r)}; }
  PIXMORPH_OP Xor(Self a, Self b) { return {_mm_xor_si128(a.r, b.r)}; }
  PIXMORPH_OP Add16(Self a, Self b) { return {_mm_add_epi16(a.r, b.r)}; }
  PIXMORPH_OP AddSaturated16(Self a, Self b) { return {_mm_adds_epu16(a.r, b.r)}; }
  PIXMORPH_OP Sub16(Self a, Self b) { return {_mm_sub_epi16(a.r, b.r)}; }
  PIXMORPH_OP Add8(Self a, Self b) { return {_mm_add_epi8(a.r, b.r)}; }
  PIXMORPH_OP Greater16(Self a, Self b) { return {_mm_cmpgt_epi16(a.r, b.r)}; }
  PIXMORPH_OP Equal16(Self a, Self b) { return {_mm_cmpeq_epi16(a.r, b.r)}; }
  PIXMORPH_OP Add32(Self a, Self b) { return {_mm_add_epi32(a.r, b.r)}; }
  PIXMORPH_OP NotNegative32(Self a) { return {Ops::NotNegative32(a.r)}; }
  PIXMORPH_OP MulHigh16(Self a, Self b) { return {_mm_mulhi_epu16(a.r, b.r)}; }
  PIXMORPH_OP MulLow16(Self a, Self b) { return {_mm_mullo_epi16(a.r, b.r)}; }
  // Adds the two 16-bit products of each 32-bit lane.
  PIXMORPH_OP AddPairs16(Self sums, Self a, Self b) {
    return {_mm_add_epi32(sums.r, _mm_madd_epi16(a.r, b.r))};
  }
  // 64-bit products of the even 32-bit lanes.
  PIXMORPH_OP MulEven32(Self a, Self b) { return {_mm_mul_epu32(a.r, b.r)}; }
  // Shift counts in a register of their own.
  using Count = __m128i;
  PIXMORPH_INLINE_MEMBER static Count ShiftCount(int n) { return _mm_cvtsi32_si128(n); }
  PIXMORPH_OP ShiftRight16(Self a, int n) { return {_mm_srl_epi16(a.r, _mm_cvtsi32_si128(n))}; }
  PIXMORPH_OP ShiftRight16(Self a, __m128i count) { return {_mm_srl_epi16(a.r, count)}; }
  PIXMORPH_OP ShiftRight32(Self a, int n) { return {_mm_srl_epi32(a.r, _mm_cvtsi32_si128(n))}; }
  PIXMORPH_OP ShiftRight64(Self a, int n) { return {_mm_srl_epi64(a.r, _mm_cvtsi32_si128(n))}; }
  PIXMORPH_OP ShiftLeft32(Self a, int n) { return {_mm_sll_epi32(a.r, _mm_cvtsi32_si128(n))}; }

  // Within each 16 bytes: the bytes of the first or the last two pixels as 16-bit numbers, and back.
  PIXMORPH_OP UnpackLow8(Self a) { return {_mm_unpacklo_epi8(a.r, Zero().r)}; }
  PIXMORPH_OP UnpackHigh8(Self a) { return {_mm_unpackhi_epi8(a.r, Zero().r)}; }
  // The 32-bit lanes of the same pixels, each twice.
  template <bool kLow>
  PIXMORPH_OP Twice32(Self a) {
    return {kLow ? _mm_unpacklo_epi32(a.r, a.r) : _mm_unpackhi_epi32(a.r, a.r)};
  }
  // The entries for one byte of each of the same pixels; the first pixel's is at `bytes`.
  template <bool kLow>
  PIXMORPH_OP LookUp(const std::uint8_t* bytes, const std::uint64_t (&table)[256]) {
    return {kLow ? TwoEntries(table, bytes[0], bytes[4]) : TwoEntries(table, bytes[8], bytes[12])};
  }
  // All unpacked pixels moved by one place: the first and the last two of each 16 bytes. `before` are the
  // last two of the vector before, of which the very last one moves in.
  PIXMORPH_OP FirstEverywhere64(Self a) { return {_mm_unpacklo_epi64(a.r, a.r)}; }
  PIXMORPH_OP LowBefore64(Self before, Self low, Self) { return HighBefore64(before, low); }
  PIXMORPH_OP HighBefore64(Self low, Self high) { return {Across64(low.r, high.r)}; }
  // The same for 32-bit lanes.
  PIXMORPH_OP FirstEverywhere32(Self a) { return {_mm_shuffle_epi32(a.r, 0)}; }
  PIXMORPH_OP Before32(Self before, Self a) {
    return Or({_mm_slli_si128(a.r, 4)}, {_mm_srli_si128(before.r, 12)});
  }
  PIXMORPH_INLINE_MEMBER static std::uint32_t Signs8(Self a) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(a.r));
  }
  PIXMORPH_OP PackSigned16(Self lo, Self hi) { return {_mm_packs_epi16(lo.r, hi.r)}; }
  PIXMORPH_OP Pack16(Self lo, Self hi) { return {_mm_packus_epi16(lo.r, hi.r)}; }

  // Pixels with the top byte of `tops`.
  PIXMORPH_OP WithTops(Self pixels, Self tops) { return Or(And(pixels, Set32(0x00FFFFFF)), tops); }

  // Any bit of `mask` in `a`.
  PIXMORPH_INLINE_MEMBER static bool AnyOf(Self a, Self mask) { return Ops::AnyOf(a.r, mask.r); }

  // 64-bit sums of eight bytes each.
  PIXMORPH_OP SumBytes(Self a) { return {_mm_sad_epu8(a.r, Zero().r)}; }

  // a - b, unpacked.
  PIXMORPH_INLINE_MEMBER static void Subtract8(Self a, Self b, Self* lo, Self* hi) {
    Ops::Subtract8(a.r, b.r, &lo->r, &hi->r);
  }

  // Within each 16 bytes of two unpacked pixels: the first one moved to the second place, behind zeros; the
  // second one in both places.
  PIXMORPH_OP ShiftUpPixel16(Self a) { return {_mm_slli_si128(a.r, 8)}; }
  PIXMORPH_OP LastPixel16(Self a) { return {_mm_unpackhi_epi64(a.r, a.r)}; }

  // Products below 2^32.
  PIXMORPH_OP MulSmall32(Self a, Self b) { return {Ops::MulSmall32(a.r, b.r)}; }

  // Sum of the even 32-bit lanes.
  PIXMORPH_INLINE_MEMBER static std::uint32_t SumEven32(Self a) {
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(a.r, _mm_srli_si128(a.r, 8))));
  }

  // Groups are 16 bytes. For each one, the 16-bit sum of those in front of it, and that of all.
  PIXMORPH_INLINE_MEMBER static void SumGroups16(Self a, Self* earlier, Self* total) {
    *earlier = Zero();
    *total = a;
  }
  // The last one, for each.
  PIXMORPH_OP LastGroup(Self a) { return a; }

  // 32-bit lanes as floats.
  PIXMORPH_OP SetFloat(float v) { return {_mm_castps_si128(_mm_set1_ps(v))}; }
  PIXMORPH_OP ToFloat32(Self a) { return {_mm_castps_si128(_mm_cvtepi32_ps(a.r))}; }
  PIXMORPH_OP Truncate32(Self a) { return {_mm_cvttps_epi32(_mm_castsi128_ps(a.r))}; }
  PIXMORPH_OP MulFloat(Self a, Self b) {
    return {_mm_castps_si128(_mm_mul_ps(_mm_castsi128_ps(a.r), _mm_castsi128_ps(b.r)))};
  }

  // Four pixels of three bytes; reads 16 bytes and writes 16, the last four of them in passing.
  PIXMORPH_OP LoadRgb24(const std::uint8_t* p) { return {Ops::FromRgb24(Load(p).r)}; }
  PIXMORPH_INLINE_MEMBER void StoreRgb24(std::uint8_t* p) const { Self{Ops::ToRgb24(r)}.Store(p); }
};

#undef PIXMORPH_OP

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_VEC_SSE_H_
