#ifndef PIXMORPH_KERNELS_SMOOTH_ENLARGE_DOUBLE_H_
#define PIXMORPH_KERNELS_SMOOTH_ENLARGE_DOUBLE_H_

#include <emmintrin.h>

#include "kernels/smooth_enlarge_kernel.h"

// The enlargement to exactly twice the size: all weights are 1 and 0 or both one half, every sum is exact,
// and each new byte is a rounded mean of one, two or four. For inclusion by the files of the levels; `V` is a
// thin vector of bytes.
namespace pixmorph::kernels {
namespace {

// V::kPixels source pixels at `upper`, `lower` and the pixels behind them.
template <class V>
PIXMORPH_INLINE void DoublePixels(std::uint8_t* out, const std::uint8_t* upper, const std::uint8_t* lower) {
  const typename V::B a = V::Load(upper), b = V::Load(lower);
  const typename V::B c = V::Load(upper + 4), d = V::Load(lower + 4);
  const typename V::B left = V::Mean(a, b), right = V::Mean(c, d);
  // The mean of two means that were both rounded up is one too much where an odd sum was rounded and the
  // means differ by an odd number.
  const typename V::B rounded = V::Or(V::Xor(a, b), V::Xor(c, d));
  const typename V::B excess = V::And(V::And(rounded, V::Xor(left, right)), V::Ones());
  V::StoreWoven(out, left, V::Sub(V::Mean(left, right), excess));
}

template <class V>
void DoubleRow(std::uint8_t* out, const std::uint8_t* upper, const std::uint8_t* lower, std::int32_t width) {
  const std::ptrdiff_t last = static_cast<std::ptrdiff_t>(width) - 1;  // it has no pixel behind it
  std::ptrdiff_t x = 0;
  if (last >= V::kPixels) {
    for (; x + V::kPixels <= last; x += V::kPixels)
      DoublePixels<V>(out + x * 8, upper + x * 4, lower + x * 4);
    // What is left, together with pixels done already.
    x = last - V::kPixels;
    DoublePixels<V>(out + x * 8, upper + x * 4, lower + x * 4);
    x = last;
  }
  ref::DoubleRow(out + x * 8, upper + x * 4, lower + x * 4, static_cast<std::int32_t>(width - x));
}

struct Bytes128 {
  using B = __m128i;
  static constexpr std::ptrdiff_t kPixels = 4;

  PIXMORPH_INLINE_MEMBER static B Load(const std::uint8_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }
  // Even pixels from one vector, odd ones from another.
  PIXMORPH_INLINE_MEMBER static void StoreWoven(std::uint8_t* out, B even, B odd) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi32(even, odd));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), _mm_unpackhi_epi32(even, odd));
  }
  PIXMORPH_INLINE_MEMBER static B Ones() { return _mm_set1_epi8(1); }
  PIXMORPH_INLINE_MEMBER static B Mean(B a, B b) { return _mm_avg_epu8(a, b); }
  PIXMORPH_INLINE_MEMBER static B Sub(B a, B b) { return _mm_sub_epi8(a, b); }
  PIXMORPH_INLINE_MEMBER static B And(B a, B b) { return _mm_and_si128(a, b); }
  PIXMORPH_INLINE_MEMBER static B Or(B a, B b) { return _mm_or_si128(a, b); }
  PIXMORPH_INLINE_MEMBER static B Xor(B a, B b) { return _mm_xor_si128(a, b); }
};

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_SMOOTH_ENLARGE_DOUBLE_H_
