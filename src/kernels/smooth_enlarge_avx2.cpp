#include "kernels/intrinsics.h"
#include "kernels/smooth_enlarge_double_avx2.h"
#include "kernels/smooth_enlarge_planar.h"
#include "kernels/smooth_enlarge_spread.h"

namespace pixmorph::kernels {
namespace {

struct Eight {
  using F = __m256;
  using I = __m256i;
  static constexpr std::int32_t kLanes = 8;

  PIXMORPH_INLINE_MEMBER static F LoadF(const float* p) { return _mm256_loadu_ps(p); }
  PIXMORPH_INLINE_MEMBER static void StoreF(float* p, F v) { _mm256_storeu_ps(p, v); }
  PIXMORPH_INLINE_MEMBER static F SetF(float v) { return _mm256_set1_ps(v); }
  PIXMORPH_INLINE_MEMBER static F Mul(F a, F b) { return _mm256_mul_ps(a, b); }
  PIXMORPH_INLINE_MEMBER static F Add(F a, F b) { return _mm256_add_ps(a, b); }
  PIXMORPH_INLINE_MEMBER static F MulAdd(F a, F b, F c) { return _mm256_fmadd_ps(a, b, c); }
  PIXMORPH_INLINE_MEMBER static F Select(I mask, F a, F b) {
    return _mm256_blendv_ps(b, a, _mm256_castsi256_ps(mask));
  }

  struct Places {
    I from;  // counted from the first
    std::int32_t first;
  };
  PIXMORPH_INLINE_MEMBER static Places PlacesAt(const std::int32_t* index) {
    return {Sub(LoadI(index), SetI(index[0])), index[0]};
  }
  PIXMORPH_INLINE_MEMBER static void Neighbours(const float* plane, Places places, F* near, F* far) {
    const auto permuted = [&places](const float* p) {
      return _mm256_permutevar8x32_ps(LoadF(p), places.from);
    };
    *near = permuted(plane + places.first);
    *far = permuted(plane + places.first + 1);
  }

  PIXMORPH_INLINE_MEMBER static I LoadI(const void* p) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(p));
  }
  // By way of a whole vector in memory: once a row, and free of masked accesses next to protected pages.
  PIXMORPH_INLINE_MEMBER static I LoadSome(const std::uint8_t* p, std::int32_t count) {
    alignas(32) std::int32_t whole[kLanes] = {};
    __builtin_memcpy(whole, p, static_cast<std::uint32_t>(count) * 4);
    return LoadI(whole);
  }
  PIXMORPH_INLINE_MEMBER static void StoreI(std::uint8_t* p, I v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
  }
  PIXMORPH_INLINE_MEMBER static void StoreSome(std::uint8_t* p, I v, std::int32_t count) {
    alignas(32) std::uint8_t whole[kLanes * 4];
    StoreI(whole, v);
    __builtin_memcpy(p, whole, static_cast<std::uint32_t>(count) * 4);
  }
  PIXMORPH_INLINE_MEMBER static I SetI(std::int32_t v) { return _mm256_set1_epi32(v); }
  PIXMORPH_INLINE_MEMBER static I Sub(I a, I b) { return _mm256_sub_epi32(a, b); }
  PIXMORPH_INLINE_MEMBER static I And(I a, I b) { return _mm256_and_si256(a, b); }
  PIXMORPH_INLINE_MEMBER static I Or(I a, I b) { return _mm256_or_si256(a, b); }
  PIXMORPH_INLINE_MEMBER static I Xor(I a, I b) { return _mm256_xor_si256(a, b); }
  PIXMORPH_INLINE_MEMBER static bool AnySet(I v) { return _mm256_testz_si256(v, v) == 0; }
  template <unsigned kBits>
  PIXMORPH_INLINE_MEMBER static I Right(I v) {
    return _mm256_srli_epi32(v, kBits);
  }
  PIXMORPH_INLINE_MEMBER static F ToFloat(I v) { return _mm256_cvtepi32_ps(v); }
  PIXMORPH_INLINE_MEMBER static I Truncate(F v) { return _mm256_cvttps_epi32(v); }

  // True when any lane of a channel has none of the mask's bits.
  PIXMORPH_INLINE_MEMBER static bool AnyZero(I mask, I blue, I green, I red, I top) {
    const I first = _mm256_min_epu32(And(blue, mask), And(green, mask));
    const I second = _mm256_min_epu32(And(red, mask), And(top, mask));
    const I zero = _mm256_cmpeq_epi32(_mm256_min_epu32(first, second), _mm256_setzero_si256());
    return _mm256_movemask_epi8(zero) != 0;
  }

  // Pixels of the bytes above 16 bits of fraction; values are below 2^24.
  PIXMORPH_INLINE_MEMBER static I Weave(I blue, I green, I red, I top) {
    const I blueAndRed = _mm256_blend_epi16(Right<16>(blue), red, 0xAA);
    const I greenAndTop = _mm256_blend_epi16(Right<16>(green), top, 0xAA);
    return Or(blueAndRed, _mm256_slli_epi32(greenAndTop, 8));
  }

  // Products of floats are exact in double, so that fused steps round as separate ones do.
  PIXMORPH_INLINE_MEMBER static I TruncateInDouble(F a, F weightA, F b, F weightB, double addend) {
    const __m256d start = _mm256_set1_pd(addend);
    const auto half = [&start](__m128 x, __m128 wx, __m128 y, __m128 wy) {
      const __m256d first = _mm256_fmadd_pd(_mm256_cvtps_pd(x), _mm256_cvtps_pd(wx), start);
      return _mm256_cvttpd_epi32(_mm256_fmadd_pd(_mm256_cvtps_pd(y), _mm256_cvtps_pd(wy), first));
    };
    const __m128i low = half(Low(a), Low(weightA), Low(b), Low(weightB));
    const __m128i high = half(High(a), High(weightA), High(b), High(weightB));
    return _mm256_inserti128_si256(_mm256_castsi128_si256(low), high, 1);
  }

 private:
  PIXMORPH_INLINE_MEMBER static __m128 Low(F v) { return _mm256_castps256_ps128(v); }
  PIXMORPH_INLINE_MEMBER static __m128 High(F v) { return _mm256_extractf128_ps(v, 1); }
};

}  // namespace

const SmoothEnlargeKernels kSmoothEnlargeAvx2 = {UnpackLine<Eight>, BlendLines<Eight>, InterpolateLine<Eight>,
                                                 SpreadLine<Eight>, MixLines<Eight>,   DoubleRow<Bytes256>};

}  // namespace pixmorph::kernels
