#ifndef PIXMORPH_KERNELS_RESAMPLE_SECOND_LOOK_H_
#define PIXMORPH_KERNELS_RESAMPLE_SECOND_LOOK_H_

#include <emmintrin.h>

#include "kernels/resample_kernel.h"

// What becomes of samples that the first sums of narrow weights leave unsure.
namespace pixmorph::kernels {

namespace {

// The whole part of four sums, clamped later.
PIXMORPH_INLINE __m128i WholeParts(__m128i sums, const WordGrade& grade) {
  return _mm_sra_epi32(sums, _mm_cvtsi32_si128(grade.fractionBits));
}

// One pixel of list `list` again. `sums` is what the first look gave, `second` the sums of the second words
// without their bias. False where only the plain evaluation tells; `sums` are then of no use.
PIXMORPH_INLINE bool LookAgain(const WordAxis& axis, const WordList& list, __m128i& sums, __m128i second) {
  const WordGrade& grade = axis.grades[list.grade];
  const __m128i fractions = _mm_and_si128(sums, _mm_set1_epi32((1 << grade.fractionBits) - 1));
  const __m128i unsure = _mm_cmplt_epi32(fractions, _mm_set1_epi32(grade.threshold));
  const __m128i fine = _mm_sll_epi32(_mm_and_si128(fractions, unsure), _mm_cvtsi32_si128(grade.lowBits));
  const __m128i y = _mm_add_epi32(_mm_add_epi32(fine, second), _mm_set1_epi32(list.secondBias));
  const __m128i near = _mm_and_si128(_mm_cmpgt_epi32(y, _mm_set1_epi32(-grade.near)),
                                     _mm_cmplt_epi32(y, _mm_set1_epi32(grade.near)));
  sums = _mm_add_epi32(WholeParts(sums, grade), _mm_and_si128(unsure, _mm_srai_epi32(y, 31)));
  return (_mm_movemask_ps(_mm_castsi128_ps(_mm_and_si128(near, unsure))) & 7) == 0;
}

// Four clamped channels as one 32-bit pixel.
PIXMORPH_INLINE std::uint32_t AsPixel(__m128i whole) {
  const __m128i words = _mm_packs_epi32(whole, whole);
  return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
}

// Pixels that need a second look, kept for later: looking at once would often mislead the processor about the
// way that the loop goes.
class Unsure {
 public:
  static constexpr std::int32_t kMost = 64;

  // Up to eight pixels from `place` on, four bits each; place counts as the reader likes. Not when full.
  PIXMORPH_INLINE_MEMBER void Add(std::int32_t place, std::uint32_t bits) {
    places_[count_] = place, bits_[count_] = bits;
    count_ += bits != 0 ? 1 : 0;
  }
  PIXMORPH_INLINE_MEMBER bool HasRoom(std::int32_t entries) const { return count_ <= kMost - entries; }

  // Calls look(place, number of the pixel) for all of them and forgets them.
  template <class Look>
  PIXMORPH_INLINE_MEMBER void TakeAll(const Look& look) {
    for (std::int32_t n = 0; n < count_; ++n) {
      for (std::uint32_t bits = bits_[n]; bits != 0;) {
        const std::int32_t pixel = __builtin_ctz(bits) / 4;
        bits &= ~(0xFu << (4 * pixel));
        look(places_[n], pixel);
      }
    }
    count_ = 0;
  }

 private:
  std::int32_t places_[kMost];
  std::uint32_t bits_[kMost];
  std::int32_t count_ = 0;
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_SECOND_LOOK_H_
