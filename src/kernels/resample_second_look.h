#ifndef PIXMORPH_KERNELS_RESAMPLE_SECOND_LOOK_H_
#define PIXMORPH_KERNELS_RESAMPLE_SECOND_LOOK_H_

#include <emmintrin.h>

#include "kernels/resample_unsure.h"
#include "kernels/resample_word_slots.h"

// What becomes of samples that the first sums of narrow weights leave unsure.
namespace pixmorph::kernels {

namespace {

// One channel of four pixels again, by the sums of both words.
class SecondLook {
 public:
  PIXMORPH_INLINE_MEMBER explicit SecondLook(std::int32_t bias)
      : first_(_mm_set1_epi32(bias)), second_(_mm_setzero_si128()) {}

  // Pairs of samples as 16-bit words, for one of the list's pairs.
  PIXMORPH_INLINE_MEMBER void Add(__m128i samples, std::int32_t word, std::int32_t secondWord) {
    first_ = _mm_add_epi32(first_, _mm_madd_epi16(samples, _mm_set1_epi32(word)));
    second_ = _mm_add_epi32(second_, _mm_madd_epi16(samples, _mm_set1_epi32(secondWord)));
  }

  // Finds the whole parts. A bit for each pixel that only the plain evaluation tells.
  PIXMORPH_INLINE_MEMBER std::uint32_t Decide(const WordGrade& grade, std::int32_t secondBias) {
    const __m128i fractions = _mm_and_si128(first_, _mm_set1_epi32((1 << grade.fractionBits) - 1));
    const __m128i unsure = _mm_cmplt_epi32(fractions, _mm_set1_epi32(grade.threshold));
    const __m128i fine = _mm_sll_epi32(_mm_and_si128(fractions, unsure), _mm_cvtsi32_si128(grade.lowBits));
    const __m128i y = _mm_add_epi32(_mm_add_epi32(fine, second_), _mm_set1_epi32(secondBias));
    const __m128i near = _mm_and_si128(_mm_cmpgt_epi32(y, _mm_set1_epi32(-grade.near)),
                                       _mm_cmplt_epi32(y, _mm_set1_epi32(grade.near)));
    const __m128i whole = _mm_sra_epi32(first_, _mm_cvtsi32_si128(grade.fractionBits));
    first_ = _mm_add_epi32(whole, _mm_and_si128(unsure, _mm_srai_epi32(y, 31)));
    return static_cast<std::uint32_t>(_mm_movemask_ps(_mm_castsi128_ps(_mm_and_si128(near, unsure))));
  }

  // The clamped channels, one a byte.
  PIXMORPH_INLINE_MEMBER std::uint32_t Bytes() const {
    const __m128i words = _mm_packs_epi32(first_, first_);
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
  }

 private:
  __m128i first_, second_;
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_SECOND_LOOK_H_
