#ifndef PIXMORPH_KERNELS_SMOOTH_ENLARGE_VEC_SSE_H_
#define PIXMORPH_KERNELS_SMOOTH_ENLARGE_VEC_SSE_H_

#include <emmintrin.h>

#include <cstdint>

#include "support/numeric.h"

namespace pixmorph::kernels {
namespace {

// Four floats or 32-bit integers, for SSE2 and SSE4.1.
struct Four {
  using F = __m128;
  using I = __m128i;
  static constexpr std::int32_t kLanes = 4;

  PIXMORPH_INLINE_MEMBER static F LoadF(const float* p) { return _mm_loadu_ps(p); }
  PIXMORPH_INLINE_MEMBER static void StoreF(float* p, F v) { _mm_storeu_ps(p, v); }
  PIXMORPH_INLINE_MEMBER static F SetF(float v) { return _mm_set1_ps(v); }
  PIXMORPH_INLINE_MEMBER static F Mul(F a, F b) { return _mm_mul_ps(a, b); }
  PIXMORPH_INLINE_MEMBER static F Add(F a, F b) { return _mm_add_ps(a, b); }
  // Rounded after each step.
  PIXMORPH_INLINE_MEMBER static F MulAdd(F a, F b, F c) { return _mm_add_ps(_mm_mul_ps(a, b), c); }
  PIXMORPH_INLINE_MEMBER static F Select(I mask, F a, F b) {
    const F chosen = _mm_castsi128_ps(mask);
    return _mm_or_ps(_mm_and_ps(chosen, a), _mm_andnot_ps(chosen, b));
  }

  using Places = const std::int32_t*;
  PIXMORPH_INLINE_MEMBER static Places PlacesAt(const std::int32_t* index) { return index; }
  // A sample and the one behind it are one load.
  PIXMORPH_INLINE_MEMBER static void Neighbours(const float* plane, Places places, F* near, F* far) {
    const auto two = [plane, places](int n) {
      const auto at = [&](int i) { return reinterpret_cast<const double*>(plane + places[i]); };
      return _mm_castpd_ps(_mm_loadh_pd(_mm_load_sd(at(n)), at(n + 1)));
    };
    const F first = two(0), second = two(2);
    *near = _mm_shuffle_ps(first, second, _MM_SHUFFLE(2, 0, 2, 0));
    *far = _mm_shuffle_ps(first, second, _MM_SHUFFLE(3, 1, 3, 1));
  }

  PIXMORPH_INLINE_MEMBER static I LoadI(const void* p) {
    return _mm_loadu_si128(static_cast<const __m128i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static I LoadSome(const std::uint8_t* p, std::int32_t count) {
    alignas(16) std::int32_t whole[kLanes] = {};
    __builtin_memcpy(whole, p, static_cast<std::uint32_t>(count) * 4);
    return LoadI(whole);
  }
  PIXMORPH_INLINE_MEMBER static void StoreI(std::uint8_t* p, I v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
  }
  PIXMORPH_INLINE_MEMBER static void StoreSome(std::uint8_t* p, I v, std::int32_t count) {
    alignas(16) std::uint8_t whole[kLanes * 4];
    StoreI(whole, v);
    __builtin_memcpy(p, whole, static_cast<std::uint32_t>(count) * 4);
  }
  PIXMORPH_INLINE_MEMBER static I SetI(std::int32_t v) { return _mm_set1_epi32(v); }
  PIXMORPH_INLINE_MEMBER static I And(I a, I b) { return _mm_and_si128(a, b); }
  PIXMORPH_INLINE_MEMBER static I Or(I a, I b) { return _mm_or_si128(a, b); }
  PIXMORPH_INLINE_MEMBER static I Xor(I a, I b) { return _mm_xor_si128(a, b); }
  PIXMORPH_INLINE_MEMBER static bool AnySet(I v) { return _mm_movemask_epi8(IsZero(v)) != 0xFFFF; }
  template <int kBits>
  PIXMORPH_INLINE_MEMBER static I Right(I v) {
    return _mm_srli_epi32(v, kBits);
  }
  PIXMORPH_INLINE_MEMBER static F ToFloat(I v) { return _mm_cvtepi32_ps(v); }
  PIXMORPH_INLINE_MEMBER static I Truncate(F v) { return _mm_cvttps_epi32(v); }

  // True when any lane of a channel has none of the mask's bits.
  PIXMORPH_INLINE_MEMBER static bool AnyZero(I mask, I blue, I green, I red, I top) {
    const I first = Or(IsZero(And(blue, mask)), IsZero(And(green, mask)));
    const I second = Or(IsZero(And(red, mask)), IsZero(And(top, mask)));
    return _mm_movemask_epi8(Or(first, second)) != 0;
  }

  // Pixels of the bytes above 16 bits of fraction; values are below 2^24.
  PIXMORPH_INLINE_MEMBER static I Weave(I blue, I green, I red, I top) {
    const I upper = SetI(static_cast<std::int32_t>(0xFFFF0000u));
    const I blueAndRed = Or(Right<16>(blue), And(red, upper));
    const I greenAndTop = Or(Right<16>(green), And(top, upper));
    return Or(blueAndRed, _mm_slli_epi32(greenAndTop, 8));
  }

  PIXMORPH_INLINE_MEMBER static I TruncateInDouble(F a, F weightA, F b, F weightB, double addend) {
    const __m128d start = _mm_set1_pd(addend);
    const auto half = [&start](F x, F wx, F y, F wy) {
      const __m128d first = _mm_add_pd(_mm_mul_pd(_mm_cvtps_pd(x), _mm_cvtps_pd(wx)), start);
      return _mm_cvttpd_epi32(_mm_add_pd(_mm_mul_pd(_mm_cvtps_pd(y), _mm_cvtps_pd(wy)), first));
    };
    const I low = half(a, weightA, b, weightB);
    return _mm_unpacklo_epi64(low, half(High(a), High(weightA), High(b), High(weightB)));
  }

 private:
  PIXMORPH_INLINE_MEMBER static I IsZero(I v) { return _mm_cmpeq_epi32(v, _mm_setzero_si128()); }
  PIXMORPH_INLINE_MEMBER static F High(F v) { return _mm_movehl_ps(v, v); }
};

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_SMOOTH_ENLARGE_VEC_SSE_H_
