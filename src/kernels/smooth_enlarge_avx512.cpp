#include "kernels/intrinsics.h"
#include "kernels/smooth_enlarge_double_avx2.h"
#include "kernels/smooth_enlarge_planar.h"
#include "kernels/smooth_enlarge_spread.h"

namespace pixmorph::kernels {
namespace {

struct Sixteen {
  using F = __m512;
  using I = __m512i;
  static constexpr std::int32_t kLanes = 16;

  PIXMORPH_INLINE_MEMBER static F LoadF(const float* p) { return _mm512_loadu_ps(p); }
  PIXMORPH_INLINE_MEMBER static void StoreF(float* p, F v) { _mm512_storeu_ps(p, v); }
  PIXMORPH_INLINE_MEMBER static F SetF(float v) { return _mm512_set1_ps(v); }
  PIXMORPH_INLINE_MEMBER static F Mul(F a, F b) { return _mm512_mul_ps(a, b); }
  PIXMORPH_INLINE_MEMBER static F Add(F a, F b) { return _mm512_add_ps(a, b); }
  PIXMORPH_INLINE_MEMBER static F MulAdd(F a, F b, F c) { return _mm512_fmadd_ps(a, b, c); }
  PIXMORPH_INLINE_MEMBER static F Select(I mask, F a, F b) {
    return _mm512_mask_blend_ps(_mm512_movepi32_mask(mask), b, a);
  }

  struct Places {
    I from;  // counted from the first
    std::int32_t first;
  };
  PIXMORPH_INLINE_MEMBER static Places PlacesAt(const std::int32_t* index) {
    return {Sub(LoadI(index), SetI(index[0])), index[0]};
  }
  PIXMORPH_INLINE_MEMBER static void Neighbours(const float* plane, Places places, F* near, F* far) {
    const auto permuted = [&places](const float* p) { return _mm512_permutexvar_ps(places.from, LoadF(p)); };
    *near = permuted(plane + places.first);
    *far = permuted(plane + places.first + 1);
  }

  PIXMORPH_INLINE_MEMBER static I LoadI(const void* p) { return _mm512_loadu_si512(p); }
  PIXMORPH_INLINE_MEMBER static I LoadSome(const std::uint8_t* p, std::int32_t count) {
    return _mm512_maskz_loadu_epi32(First(count), p);
  }
  PIXMORPH_INLINE_MEMBER static void StoreI(std::uint8_t* p, I v) { _mm512_storeu_si512(p, v); }
  PIXMORPH_INLINE_MEMBER static void StoreSome(std::uint8_t* p, I v, std::int32_t count) {
    _mm512_mask_storeu_epi32(p, First(count), v);
  }
  PIXMORPH_INLINE_MEMBER static I SetI(std::int32_t v) { return _mm512_set1_epi32(v); }
  PIXMORPH_INLINE_MEMBER static I Sub(I a, I b) { return _mm512_sub_epi32(a, b); }
  PIXMORPH_INLINE_MEMBER static I And(I a, I b) { return _mm512_and_si512(a, b); }
  PIXMORPH_INLINE_MEMBER static I Or(I a, I b) { return _mm512_or_si512(a, b); }
  PIXMORPH_INLINE_MEMBER static I Xor(I a, I b) { return _mm512_xor_si512(a, b); }
  PIXMORPH_INLINE_MEMBER static bool AnySet(I v) { return _mm512_test_epi32_mask(v, v) != 0; }
  template <unsigned kBits>
  PIXMORPH_INLINE_MEMBER static I Right(I v) {
    return _mm512_srli_epi32(v, kBits);
  }
  PIXMORPH_INLINE_MEMBER static F ToFloat(I v) { return _mm512_cvtepi32_ps(v); }
  PIXMORPH_INLINE_MEMBER static I Truncate(F v) { return _mm512_cvttps_epi32(v); }

  // True when any lane of a channel has none of the mask's bits.
  PIXMORPH_INLINE_MEMBER static bool AnyZero(I mask, I blue, I green, I red, I top) {
    const __mmask16 first =
        _kor_mask16(_mm512_testn_epi32_mask(blue, mask), _mm512_testn_epi32_mask(green, mask));
    const __mmask16 second =
        _kor_mask16(_mm512_testn_epi32_mask(red, mask), _mm512_testn_epi32_mask(top, mask));
    return !_kortestz_mask16_u8(first, second);
  }

  // Pixels of the bytes above 16 bits of fraction; values are below 2^24.
  PIXMORPH_INLINE_MEMBER static I Weave(I blue, I green, I red, I top) {
    const I upper = SetI(static_cast<std::int32_t>(0xFFFF0000u));
    const I blueAndRed = _mm512_ternarylogic_epi32(upper, red, Right<16>(blue), 0xCA);
    const I greenAndTop = _mm512_ternarylogic_epi32(upper, top, Right<16>(green), 0xCA);
    return Or(blueAndRed, _mm512_slli_epi32(greenAndTop, 8));
  }

  // Products of floats are exact in double, so that fused steps round as separate ones do.
  PIXMORPH_INLINE_MEMBER static I TruncateInDouble(F a, F weightA, F b, F weightB, double addend) {
    const __m512d start = _mm512_set1_pd(addend);
    const auto half = [&start](__m256 x, __m256 wx, __m256 y, __m256 wy) {
      const __m512d first = _mm512_fmadd_pd(_mm512_cvtps_pd(x), _mm512_cvtps_pd(wx), start);
      return _mm512_cvttpd_epi32(_mm512_fmadd_pd(_mm512_cvtps_pd(y), _mm512_cvtps_pd(wy), first));
    };
    const __m256i low = half(Low(a), Low(weightA), Low(b), Low(weightB));
    const __m256i high = half(High(a), High(weightA), High(b), High(weightB));
    return _mm512_inserti64x4(_mm512_castsi256_si512(low), high, 1);
  }

 private:
  PIXMORPH_INLINE_MEMBER static __mmask16 First(std::int32_t count) {
    return static_cast<__mmask16>((1u << count) - 1);
  }
  PIXMORPH_INLINE_MEMBER static __m256 Low(F v) { return _mm512_castps512_ps256(v); }
  PIXMORPH_INLINE_MEMBER static __m256 High(F v) { return _mm512_extractf32x8_ps(v, 1); }
};

}  // namespace

const SmoothEnlargeKernels kSmoothEnlargeAvx512 = {UnpackLine<Sixteen>,      BlendLines<Sixteen>,
                                                   InterpolateLine<Sixteen>, SpreadLine<Sixteen>,
                                                   MixLines<Sixteen>,        DoubleRow<Bytes256>};

}  // namespace pixmorph::kernels
