#ifndef PIXMORPH_KERNELS_SMOOTH_ENLARGE_DOUBLE_AVX2_H_
#define PIXMORPH_KERNELS_SMOOTH_ENLARGE_DOUBLE_AVX2_H_

#include "kernels/intrinsics.h"
#include "kernels/smooth_enlarge_double.h"

// Vectors of 32 bytes for DoubleRow, for inclusion by the files of levels that have AVX2. Vectors of 64 took
// half as long again when measured: nearly all of their loads straddle cache lines.
namespace pixmorph::kernels {
namespace {

struct Bytes256 {
  using B = __m256i;
  static constexpr std::ptrdiff_t kPixels = 8;

  PIXMORPH_INLINE_MEMBER static B Load(const std::uint8_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  }
  // Even pixels from one vector, odd ones from another.
  PIXMORPH_INLINE_MEMBER static void StoreWoven(std::uint8_t* out, B even, B odd) {
    const B low = _mm256_unpacklo_epi32(even, odd), high = _mm256_unpackhi_epi32(even, odd);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), _mm256_permute2x128_si256(low, high, 0x20));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + 32), _mm256_permute2x128_si256(low, high, 0x31));
  }
  PIXMORPH_INLINE_MEMBER static B Ones() { return _mm256_set1_epi8(1); }
  PIXMORPH_INLINE_MEMBER static B Mean(B a, B b) { return _mm256_avg_epu8(a, b); }
  PIXMORPH_INLINE_MEMBER static B Sub(B a, B b) { return _mm256_sub_epi8(a, b); }
  PIXMORPH_INLINE_MEMBER static B And(B a, B b) { return _mm256_and_si256(a, b); }
  PIXMORPH_INLINE_MEMBER static B Or(B a, B b) { return _mm256_or_si256(a, b); }
  PIXMORPH_INLINE_MEMBER static B Xor(B a, B b) { return _mm256_xor_si256(a, b); }
};

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_SMOOTH_ENLARGE_DOUBLE_AVX2_H_
