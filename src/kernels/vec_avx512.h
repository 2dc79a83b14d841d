#ifndef PIXMORPH_KERNELS_VEC_AVX512_H_
#define PIXMORPH_KERNELS_VEC_AVX512_H_

#include <cstdint>

#include "kernels/intrinsics.h"
#include "support/numeric.h"

// 64 bytes with AVX-512 (F, BW, DQ, VL, VBMI, VNNI).
namespace pixmorph::kernels {
namespace {

struct VecAvx512 {
  using Self = VecAvx512;
  static constexpr int kBytes = 64;
  static constexpr int kPixels = kBytes / 4;
  __m512i r;

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Self

  PIXMORPH_OP Load(const std::uint8_t* p) { return {_mm512_loadu_si512(p)}; }
  PIXMORPH_OP LoadAligned(const std::uint8_t* p) { return {_mm512_load_si512(p)}; }
  PIXMORPH_INLINE_MEMBER void Store(std::uint8_t* p) const { _mm512_storeu_si512(p, r); }
  PIXMORPH_INLINE_MEMBER void StoreAligned(std::uint8_t* p) const { _mm512_store_si512(p, r); }
  PIXMORPH_INLINE_MEMBER static void Prefetch(const std::uint8_t* p) {
    _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T1);
  }
  // Past the caches; aligned. `EndStreaming` orders what was streamed before what is stored later.
  PIXMORPH_INLINE_MEMBER static void EndStreaming() { _mm_sfence(); }
  PIXMORPH_INLINE_MEMBER void Stream(std::uint8_t* p) const {
    _mm512_stream_si512(reinterpret_cast<__m512i*>(p), r);
  }

  PIXMORPH_OP Zero() { return {_mm512_setzero_si512()}; }
  PIXMORPH_OP Set16(std::int16_t v) { return {_mm512_set1_epi16(v)}; }
  PIXMORPH_OP Set32(std::uint32_t v) { return {_mm512_set1_epi32(static_cast<int>(v))}; }
  PIXMORPH_OP Set64(std::uint64_t v) { return {_mm512_set1_epi64(static_cast<long long>(v))}; }

  PIXMORPH_OP And(Self a, Self b) { return {_mm512_and_si512(a.r, b.r)}; }
  PIXMORPH_OP Or(Self a, Self b) { return {_mm512_or_si512(a.r, b.r)}; }
  PIXMORPH_OP Xor(Self a, Self b) { return {_mm512_xor_si512(a.r, b.r)}; }
  PIXMORPH_OP Add16(Self a, Self b) { return {_mm512_add_epi16(a.r, b.r)}; }
  PIXMORPH_OP Sub16(Self a, Self b) { return {_mm512_sub_epi16(a.r, b.r)}; }
  PIXMORPH_OP Add8(Self a, Self b) { return {_mm512_add_epi8(a.r, b.r)}; }
  PIXMORPH_OP Greater16(Self a, Self b) { return {_mm512_movm_epi16(_mm512_cmpgt_epi16_mask(a.r, b.r))}; }
  PIXMORPH_OP Add32(Self a, Self b) { return {_mm512_add_epi32(a.r, b.r)}; }
  PIXMORPH_OP MulHigh16(Self a, Self b) { return {_mm512_mulhi_epu16(a.r, b.r)}; }
  PIXMORPH_OP MulLow16(Self a, Self b) { return {_mm512_mullo_epi16(a.r, b.r)}; }
  // Adds the two 16-bit products of each 32-bit lane.
  PIXMORPH_OP AddPairs16(Self sums, Self a, Self b) { return {_mm512_dpwssd_epi32(sums.r, a.r, b.r)}; }
  // 64-bit products of the even 32-bit lanes.
  PIXMORPH_OP MulEven32(Self a, Self b) { return {_mm512_mul_epu32(a.r, b.r)}; }
  // Shift counts in a register of their own.
  using Count = __m128i;
  PIXMORPH_INLINE_MEMBER static Count ShiftCount(int n) { return _mm_cvtsi32_si128(n); }
  PIXMORPH_OP ShiftRight16(Self a, int n) { return {_mm512_srl_epi16(a.r, _mm_cvtsi32_si128(n))}; }
  PIXMORPH_OP ShiftRight16(Self a, __m128i count) { return {_mm512_srl_epi16(a.r, count)}; }
  PIXMORPH_OP ShiftRight32(Self a, int n) { return {_mm512_srl_epi32(a.r, _mm_cvtsi32_si128(n))}; }
  PIXMORPH_OP ShiftRight64(Self a, int n) { return {_mm512_srl_epi64(a.r, _mm_cvtsi32_si128(n))}; }
  PIXMORPH_OP ShiftLeft32(Self a, int n) { return {_mm512_sll_epi32(a.r, _mm_cvtsi32_si128(n))}; }

  // Within each 16 bytes: the bytes of the first or the last two pixels as 16-bit numbers, and back.
  PIXMORPH_OP UnpackLow8(Self a) { return {_mm512_unpacklo_epi8(a.r, Zero().r)}; }
  PIXMORPH_OP UnpackHigh8(Self a) { return {_mm512_unpackhi_epi8(a.r, Zero().r)}; }
  PIXMORPH_OP PackSigned16(Self lo, Self hi) { return {_mm512_packs_epi16(lo.r, hi.r)}; }
  PIXMORPH_OP Pack16(Self lo, Self hi) { return {_mm512_packus_epi16(lo.r, hi.r)}; }

  // Pixels with the top byte of `tops`.
  PIXMORPH_OP WithTops(Self pixels, Self tops) {
    return {_mm512_ternarylogic_epi32(pixels.r, Set32(0x00FFFFFF).r, tops.r, 0xEA)};
  }

  // Any bit of `mask` in `a`.
  PIXMORPH_INLINE_MEMBER static bool AnyOf(Self a, Self mask) {
    return _mm512_test_epi32_mask(a.r, mask.r) != 0;
  }

  // 64-bit sums of eight bytes each.
  PIXMORPH_OP SumBytes(Self a) { return {_mm512_sad_epu8(a.r, Zero().r)}; }

  // a - b, unpacked.
  PIXMORPH_INLINE_MEMBER static void Subtract8(Self a, Self b, Self* lo, Self* hi) {
    const Self signs = Set16(static_cast<std::int16_t>(0xFF01));  // 1 and -1
    lo->r = _mm512_maddubs_epi16(_mm512_unpacklo_epi8(a.r, b.r), signs.r);
    hi->r = _mm512_maddubs_epi16(_mm512_unpackhi_epi8(a.r, b.r), signs.r);
  }

  // Within each 16 bytes of two unpacked pixels: the first one moved to the second place, behind zeros; the
  // second one in both places.
  PIXMORPH_OP ShiftUpPixel16(Self a) { return {_mm512_bslli_epi128(a.r, 8)}; }
  PIXMORPH_OP LastPixel16(Self a) { return {_mm512_unpackhi_epi64(a.r, a.r)}; }

  // Products below 2^32.
  PIXMORPH_OP MulSmall32(Self a, Self b) { return {_mm512_mullo_epi32(a.r, b.r)}; }

  // Sum of the even 32-bit lanes.
  PIXMORPH_INLINE_MEMBER static std::uint32_t SumEven32(Self a) {
    return static_cast<std::uint32_t>(_mm512_reduce_add_epi64(a.r));
  }

  // Groups are 16 bytes. For each one, the 16-bit sum of those in front of it, and that of all.
  PIXMORPH_INLINE_MEMBER static void SumGroups16(Self a, Self* earlier, Self* total) {
    const __m512i pairs = _mm512_add_epi16(a.r, _mm512_maskz_shuffle_i64x2(0xFC, a.r, a.r, 0x90));
    const Self sums = {_mm512_add_epi16(pairs, _mm512_maskz_shuffle_i64x2(0xF0, pairs, pairs, 0x40))};
    *earlier = Sub16(sums, a);
    *total = LastGroup(sums);
  }
  // The last one, for each.
  PIXMORPH_OP LastGroup(Self a) { return {_mm512_shuffle_i64x2(a.r, a.r, 0xFF)}; }

  // 32-bit lanes as floats.
  PIXMORPH_OP SetFloat(float v) { return {_mm512_castps_si512(_mm512_set1_ps(v))}; }
  PIXMORPH_OP ToFloat32(Self a) { return {_mm512_castps_si512(_mm512_cvtepi32_ps(a.r))}; }
  PIXMORPH_OP Truncate32(Self a) { return {_mm512_cvttps_epi32(_mm512_castsi512_ps(a.r))}; }
  PIXMORPH_OP MulFloat(Self a, Self b) {
    return {_mm512_castps_si512(_mm512_mul_ps(_mm512_castsi512_ps(a.r), _mm512_castsi512_ps(b.r)))};
  }
};

// Doubles, for arithmetic on one channel of as many pixels.
struct VecAvx512Doubles {
  using Self = VecAvx512Doubles;
  using Pixels = __m256i;
  static constexpr int kLanes = 8;
  __m512d r;

  PIXMORPH_OP Set(double v) { return {_mm512_set1_pd(v)}; }
  PIXMORPH_OP Multiply(Self a, Self b) { return {_mm512_mul_pd(a.r, b.r)}; }
  PIXMORPH_OP Subtract(Self a, Self b) { return {_mm512_sub_pd(a.r, b.r)}; }
  PIXMORPH_OP NotBelow0(Self a) { return {_mm512_max_pd(a.r, _mm512_setzero_pd())}; }
  // Correctly rounded: the first quotient is off by at most one unit in the last place, the inverse is 1 /
  // 255 correctly rounded, and the remainder is exact, so that one correction by it gives what a division
  // gives. Holds for numbers far from the smallest doubles.
  PIXMORPH_OP DivideBy255(Self a) {
    const Self inverse = Set(1.0 / 255), quotient = Multiply(a, inverse);
    const Self remainder = {_mm512_fnmadd_pd(quotient.r, Set(255).r, a.r)};
    return {_mm512_fmadd_pd(remainder.r, inverse.r, quotient.r)};
  }

  // One 32-bit pixel a lane, or one 32-bit number.
  PIXMORPH_INLINE_MEMBER static Pixels SetPixels(std::uint32_t v) {
    return _mm256_set1_epi32(static_cast<int>(v));
  }
  PIXMORPH_INLINE_MEMBER static Pixels LoadPixels(const std::uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void StorePixels(std::uint8_t* p, Pixels pixels) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), pixels);
  }

  // The byte above `kShift`, or 255 less it.
  template <int kShift>
  PIXMORPH_OP Channel(Pixels pixels) {
    return {_mm512_cvtepi32_pd(_mm256_and_si256(_mm256_srli_epi32(pixels, kShift), SetPixels(0xFF)))};
  }
  template <int kShift>
  PIXMORPH_OP InverseChannel(Pixels pixels) {
    return {_mm512_cvtepi32_pd(_mm256_andnot_si256(_mm256_srli_epi32(pixels, kShift), SetPixels(0xFF)))};
  }
  // Sums of truncated numbers, all of less than 32 bits.
  using Sum = Self;
  PIXMORPH_INLINE_MEMBER static Sum NoSum() { return Set(0); }
  PIXMORPH_INLINE_MEMBER static Sum AddWhole(Sum sum, Self a) {
    return {_mm512_add_pd(sum.r, _mm512_roundscale_pd(a.r, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC))};
  }
  PIXMORPH_INLINE_MEMBER static Sum AddSums(Sum a, Sum b) { return {_mm512_add_pd(a.r, b.r)}; }
  PIXMORPH_INLINE_MEMBER static Pixels ToInt32(Sum sum) { return _mm512_cvttpd_epi32(sum.r); }
  // All lanes moved up by one, with the last one of `earlier` in front.
  PIXMORPH_OP Before(Self earlier, Self a) {
    return {_mm512_castsi512_pd(
        _mm512_alignr_epi64(_mm512_castpd_si512(a.r), _mm512_castpd_si512(earlier.r), 7))};
  }

  // Pixels of channels that are clamped to 0 .. 255; `top` is in that range.
  PIXMORPH_INLINE_MEMBER static Pixels Clamped(Pixels blue, Pixels green, Pixels red, Pixels top) {
    const Pixels planes = _mm256_packus_epi16(_mm256_packs_epi32(blue, green), _mm256_packs_epi32(red, top));
    return _mm256_shuffle_epi8(planes, _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2,
                                                                                 6, 10, 14, 3, 7, 11, 15)));
  }
};

#undef PIXMORPH_OP

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_VEC_AVX512_H_
