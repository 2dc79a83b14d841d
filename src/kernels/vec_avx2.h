#ifndef PIXMORPH_KERNELS_VEC_AVX2_H_
#define PIXMORPH_KERNELS_VEC_AVX2_H_

#include <cstdint>

#include "kernels/intrinsics.h"
#include "kernels/vec_lookup.h"
#include "support/numeric.h"

// 32 bytes with AVX2.
namespace pixmorph::kernels {
namespace {

struct VecAvx2 {
  using Self = VecAvx2;
  static constexpr int kBytes = 32;
  static constexpr int kPixels = kBytes / 4;
  __m256i r;

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Self

  PIXMORPH_OP Load(const std::uint8_t* p) {
    return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))};
  }
  PIXMORPH_OP LoadAligned(const std::uint8_t* p) {
    return {_mm256_load_si256(reinterpret_cast<const __m256i*>(p))};
  }
  PIXMORPH_INLINE_MEMBER void Store(std::uint8_t* p) const {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), r);
  }
  PIXMORPH_INLINE_MEMBER void StoreAligned(std::uint8_t* p) const {
    _mm256_store_si256(reinterpret_cast<__m256i*>(p), r);
  }
  PIXMORPH_INLINE_MEMBER static void Prefetch(const std::uint8_t* p) {
    _mm_prefetch(reinterpret_cast<const char*>(p), _MM_HINT_T1);
  }
  // Past the caches; aligned. `EndStreaming` orders what was streamed before what is stored later.
  PIXMORPH_INLINE_MEMBER static void EndStreaming() { _mm_sfence(); }
  PIXMORPH_INLINE_MEMBER void Stream(std::uint8_t* p) const {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(p), r);
  }

  PIXMORPH_OP Zero() { return {_mm256_setzero_si256()}; }
  PIXMORPH_OP Set16(std::int16_t v) { return {_mm256_set1_epi16(v)}; }
  PIXMORPH_OP Set32(std::uint32_t v) { return {_mm256_set1_epi32(static_cast<int>(v))}; }
  PIXMORPH_OP Set64(std::uint64_t v) { return {_mm256_set1_epi64x(static_cast<long long>(v))}; }

  PIXMORPH_OP And(Self a, Self b) { return {_mm256_and_si256(a.r, b.r)}; }
  PIXMORPH_OP Or(Self a, Self b) { return {_mm256_or_si256(a.r, b.r)}; }
  PIXMORPH_OP Xor(Self a, Self b) { return {_mm256_xor_si256(a.r, b.r)}; }
  PIXMORPH_OP Add16(Self a, Self b) { return {_mm256_add_epi16(a.r, b.r)}; }
  PIXMORPH_OP AddSaturated16(Self a, Self b) { return {_mm256_adds_epu16(a.r, b.r)}; }
  PIXMORPH_OP Sub16(Self a, Self b) { return {_mm256_sub_epi16(a.r, b.r)}; }
  PIXMORPH_OP Add8(Self a, Self b) { return {_mm256_add_epi8(a.r, b.r)}; }
  PIXMORPH_OP Greater16(Self a, Self b) { return {_mm256_cmpgt_epi16(a.r, b.r)}; }
  PIXMORPH_OP Equal16(Self a, Self b) { return {_mm256_cmpeq_epi16(a.r, b.r)}; }
  PIXMORPH_OP Add32(Self a, Self b) { return {_mm256_add_epi32(a.r, b.r)}; }
  PIXMORPH_OP NotNegative32(Self a) { return {_mm256_max_epi32(a.r, Zero().r)}; }
  PIXMORPH_OP MulHigh16(Self a, Self b) { return {_mm256_mulhi_epu16(a.r, b.r)}; }
  PIXMORPH_OP MulLow16(Self a, Self b) { return {_mm256_mullo_epi16(a.r, b.r)}; }
  // Adds the two 16-bit products of each 32-bit lane.
  PIXMORPH_OP AddPairs16(Self sums, Self a, Self b) {
    return {_mm256_add_epi32(sums.r, _mm256_madd_epi16(a.r, b.r))};
  }
  // 64-bit products of the even 32-bit lanes.
  PIXMORPH_OP MulEven32(Self a, Self b) { return {_mm256_mul_epu32(a.r, b.r)}; }
  // Shift counts in a register of their own.
  using Count = __m128i;
  PIXMORPH_INLINE_MEMBER static Count ShiftCount(int n) { return _mm_cvtsi32_si128(n); }
  PIXMORPH_OP ShiftRight16(Self a, int n) { return {_mm256_srl_epi16(a.r, _mm_cvtsi32_si128(n))}; }
  PIXMORPH_OP ShiftRight16(Self a, __m128i count) { return {_mm256_srl_epi16(a.r, count)}; }
  PIXMORPH_OP ShiftRight32(Self a, int n) { return {_mm256_srl_epi32(a.r, _mm_cvtsi32_si128(n))}; }
  PIXMORPH_OP ShiftRight64(Self a, int n) { return {_mm256_srl_epi64(a.r, _mm_cvtsi32_si128(n))}; }
  PIXMORPH_OP ShiftLeft32(Self a, int n) { return {_mm256_sll_epi32(a.r, _mm_cvtsi32_si128(n))}; }

  // Within each 16 bytes: the bytes of the first or the last two pixels as 16-bit numbers, and back.
  PIXMORPH_OP UnpackLow8(Self a) { return {_mm256_unpacklo_epi8(a.r, Zero().r)}; }
  PIXMORPH_OP UnpackHigh8(Self a) { return {_mm256_unpackhi_epi8(a.r, Zero().r)}; }
  // The 32-bit lanes of the same pixels, each twice.
  template <bool kLow>
  PIXMORPH_OP Twice32(Self a) {
    return {kLow ? _mm256_unpacklo_epi32(a.r, a.r) : _mm256_unpackhi_epi32(a.r, a.r)};
  }
  // The entries for one byte of each of the same pixels; the first pixel's is at `bytes`.
  template <bool kLow>
  PIXMORPH_OP LookUp(const std::uint8_t* bytes, const std::uint64_t (&table)[256]) {
    bytes += kLow ? 0 : 8;
    const __m256i low = _mm256_castsi128_si256(TwoEntries(table, bytes[0], bytes[4]));
    return {_mm256_inserti128_si256(low, TwoEntries(table, bytes[16], bytes[20]), 1)};
  }
  // All unpacked pixels moved by one place: the first and the last two of each 16 bytes. `before` are the
  // last two of the vector before, of which the very last one moves in.
  PIXMORPH_OP FirstEverywhere64(Self a) { return {_mm256_permute4x64_epi64(a.r, 0)}; }
  PIXMORPH_OP LowBefore64(Self before, Self low, Self high) {
    return HighBefore64({_mm256_permute2x128_si256(before.r, high.r, 0x21)}, low);
  }
  PIXMORPH_OP HighBefore64(Self low, Self high) {
    return {
        _mm256_castpd_si256(_mm256_shuffle_pd(_mm256_castsi256_pd(low.r), _mm256_castsi256_pd(high.r), 0x5))};
  }
  // The same for 32-bit lanes.
  PIXMORPH_OP FirstEverywhere32(Self a) { return {_mm256_broadcastd_epi32(_mm256_castsi256_si128(a.r))}; }
  PIXMORPH_OP Before32(Self before, Self a) {
    return {_mm256_alignr_epi8(a.r, _mm256_permute2x128_si256(before.r, a.r, 0x21), 12)};
  }
  PIXMORPH_INLINE_MEMBER static std::uint32_t Signs8(Self a) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(a.r));
  }
  PIXMORPH_OP PackSigned16(Self lo, Self hi) { return {_mm256_packs_epi16(lo.r, hi.r)}; }
  PIXMORPH_OP Pack16(Self lo, Self hi) { return {_mm256_packus_epi16(lo.r, hi.r)}; }

  // Pixels with the top byte of `tops`.
  PIXMORPH_OP WithTops(Self pixels, Self tops) { return Or(And(pixels, Set32(0x00FFFFFF)), tops); }

  // Any bit of `mask` in `a`.
  PIXMORPH_INLINE_MEMBER static bool AnyOf(Self a, Self mask) { return !_mm256_testz_si256(a.r, mask.r); }

  // 64-bit sums of eight bytes each.
  PIXMORPH_OP SumBytes(Self a) { return {_mm256_sad_epu8(a.r, Zero().r)}; }

  // a - b, unpacked.
  PIXMORPH_INLINE_MEMBER static void Subtract8(Self a, Self b, Self* lo, Self* hi) {
    const Self signs = Set16(static_cast<std::int16_t>(0xFF01));  // 1 and -1
    lo->r = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(a.r, b.r), signs.r);
    hi->r = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(a.r, b.r), signs.r);
  }

  // Within each 16 bytes of two unpacked pixels: the first one moved to the second place, behind zeros; the
  // second one in both places.
  PIXMORPH_OP ShiftUpPixel16(Self a) { return {_mm256_slli_si256(a.r, 8)}; }
  PIXMORPH_OP LastPixel16(Self a) { return {_mm256_unpackhi_epi64(a.r, a.r)}; }

  // Products below 2^32.
  PIXMORPH_OP MulSmall32(Self a, Self b) { return {_mm256_mullo_epi32(a.r, b.r)}; }

  // Sum of the even 32-bit lanes.
  PIXMORPH_INLINE_MEMBER static std::uint32_t SumEven32(Self a) {
    const __m128i four = _mm_add_epi32(_mm256_castsi256_si128(a.r), _mm256_extracti128_si256(a.r, 1));
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_add_epi32(four, _mm_srli_si128(four, 8))));
  }

  // Groups are 16 bytes. For each one, the 16-bit sum of those in front of it, and that of all.
  PIXMORPH_INLINE_MEMBER static void SumGroups16(Self a, Self* earlier, Self* total) {
    earlier->r = _mm256_permute2x128_si256(a.r, a.r, 0x08);
    *total = LastGroup(Add16(*earlier, a));
  }
  // The last one, for each.
  PIXMORPH_OP LastGroup(Self a) { return {_mm256_permute2x128_si256(a.r, a.r, 0x11)}; }

  // 32-bit lanes as floats.
  PIXMORPH_OP SetFloat(float v) { return {_mm256_castps_si256(_mm256_set1_ps(v))}; }
  PIXMORPH_OP ToFloat32(Self a) { return {_mm256_castps_si256(_mm256_cvtepi32_ps(a.r))}; }
  PIXMORPH_OP Truncate32(Self a) { return {_mm256_cvttps_epi32(_mm256_castsi256_ps(a.r))}; }
  PIXMORPH_OP MulFloat(Self a, Self b) {
    return {_mm256_castps_si256(_mm256_mul_ps(_mm256_castsi256_ps(a.r), _mm256_castsi256_ps(b.r)))};
  }

  // Eight pixels of three bytes; reads 28 bytes and writes 28, the last four of them in passing.
  PIXMORPH_OP LoadRgb24(const std::uint8_t* p) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m256i both = _mm256_inserti128_si256(
        _mm256_castsi128_si256(low), _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 12)), 1);
    const __m128i order = _mm_setr_epi8(2, 1, 0, -1, 5, 4, 3, -1, 8, 7, 6, -1, 11, 10, 9, -1);
    return {_mm256_shuffle_epi8(both, _mm256_broadcastsi128_si256(order))};
  }
  PIXMORPH_INLINE_MEMBER void StoreRgb24(std::uint8_t* p) const {
    const __m128i order = _mm_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m256i packed = _mm256_shuffle_epi8(r, _mm256_broadcastsi128_si256(order));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm256_castsi256_si128(packed));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p + 12), _mm256_extracti128_si256(packed, 1));
  }
};

// Doubles, for arithmetic on one channel of as many pixels.
struct VecAvx2Doubles {
  using Self = VecAvx2Doubles;
  using Pixels = __m128i;
  static constexpr int kLanes = 4;
  __m256d r;

  PIXMORPH_OP Set(double v) { return {_mm256_set1_pd(v)}; }
  PIXMORPH_OP Multiply(Self a, Self b) { return {_mm256_mul_pd(a.r, b.r)}; }
  PIXMORPH_OP Subtract(Self a, Self b) { return {_mm256_sub_pd(a.r, b.r)}; }
  PIXMORPH_OP NotBelow0(Self a) { return {_mm256_max_pd(a.r, _mm256_setzero_pd())}; }
  // Correctly rounded: the first quotient is off by at most one unit in the last place, the inverse is 1 /
  // 255 correctly rounded, and the remainder is exact, so that one correction by it gives what a division
  // gives. Holds for numbers far from the smallest doubles.
  PIXMORPH_OP DivideBy255(Self a) {
    const Self inverse = Set(1.0 / 255), quotient = Multiply(a, inverse);
    const Self remainder = {_mm256_fnmadd_pd(quotient.r, Set(255).r, a.r)};
    return {_mm256_fmadd_pd(remainder.r, inverse.r, quotient.r)};
  }

  // One 32-bit pixel a lane, or one 32-bit number.
  PIXMORPH_INLINE_MEMBER static Pixels SetPixels(std::uint32_t v) {
    return _mm_set1_epi32(static_cast<int>(v));
  }
  PIXMORPH_INLINE_MEMBER static Pixels LoadPixels(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void StorePixels(std::uint8_t* p, Pixels pixels) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), pixels);
  }

  // The byte above `kShift`, or 255 less it.
  template <int kShift>
  PIXMORPH_OP Channel(Pixels pixels) {
    return {_mm256_cvtepi32_pd(_mm_and_si128(_mm_srli_epi32(pixels, kShift), SetPixels(0xFF)))};
  }
  template <int kShift>
  PIXMORPH_OP InverseChannel(Pixels pixels) {
    return {_mm256_cvtepi32_pd(_mm_andnot_si128(_mm_srli_epi32(pixels, kShift), SetPixels(0xFF)))};
  }
  // Sums of truncated numbers, all of less than 32 bits.
  using Sum = Self;
  PIXMORPH_INLINE_MEMBER static Sum NoSum() { return Set(0); }
  PIXMORPH_INLINE_MEMBER static Sum AddWhole(Sum sum, Self a) {
    return {_mm256_add_pd(sum.r, _mm256_round_pd(a.r, _MM_FROUND_TO_ZERO | _MM_FROUND_NO_EXC))};
  }
  PIXMORPH_INLINE_MEMBER static Sum AddSums(Sum a, Sum b) { return {_mm256_add_pd(a.r, b.r)}; }
  PIXMORPH_INLINE_MEMBER static Pixels ToInt32(Sum sum) { return _mm256_cvttpd_epi32(sum.r); }
  // All lanes moved up by one, with the last one of `earlier` in front.
  PIXMORPH_OP Before(Self earlier, Self a) {
    return {_mm256_shuffle_pd(_mm256_permute2f128_pd(earlier.r, a.r, 0x21), a.r, 0x5)};
  }

  // Pixels of channels that are clamped to 0 .. 255; `top` is in that range.
  PIXMORPH_INLINE_MEMBER static Pixels Clamped(Pixels blue, Pixels green, Pixels red, Pixels top) {
    const Pixels planes = _mm_packus_epi16(_mm_packs_epi32(blue, green), _mm_packs_epi32(red, top));
    return _mm_shuffle_epi8(planes, _mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
  }
};

#undef PIXMORPH_OP

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_VEC_AVX2_H_
