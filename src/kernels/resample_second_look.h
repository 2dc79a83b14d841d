#ifndef PIXMORPH_KERNELS_RESAMPLE_SECOND_LOOK_H_
#define PIXMORPH_KERNELS_RESAMPLE_SECOND_LOOK_H_

#include <emmintrin.h>

#include "kernels/resample_unsure.h"
#include "kernels/resample_word_slots.h"

// What becomes of samples that the first sums leave unsure.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kOnlyPlainTells = -1;

// Both sums of one sample.
class TwoSums {
 public:
  // Four pairs of samples as 16-bit numbers.
  PIXMORPH_INLINE_MEMBER void Add(__m128i pairs, const std::int32_t* words, const std::int32_t* secondWords) {
    first_ = _mm_add_epi32(first_, _mm_madd_epi16(pairs, Load(words)));
    second_ = _mm_add_epi32(second_, _mm_madd_epi16(pairs, Load(secondWords)));
  }
  PIXMORPH_INLINE_MEMBER void Finish(std::int32_t& first, std::int32_t& second) const {
    const __m128i byTwos =
        _mm_add_epi32(_mm_unpacklo_epi32(first_, second_), _mm_unpackhi_epi32(first_, second_));
    const __m128i sums = _mm_add_epi32(byTwos, _mm_shuffle_epi32(byTwos, _MM_SHUFFLE(1, 0, 3, 2)));
    first = _mm_cvtsi128_si32(sums);
    second = _mm_cvtsi128_si32(_mm_shuffle_epi32(sums, 1));
  }

 private:
  PIXMORPH_INLINE_MEMBER static __m128i Load(const std::int32_t* words) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(words));
  }

  __m128i first_ = _mm_setzero_si128(), second_ = _mm_setzero_si128();
};

// A second look at samples of one list. Has copies of all that it reads: what is stored in between might be
// anything, as far as compilers know.
class SecondLook {
 public:
  PIXMORPH_INLINE_MEMBER SecondLook(const WordAxis& axis, const WordList& list)
      : words_(axis.words + list.words),
        pairs_(list.pairs),
        bias_(list.bias),
        secondBias_(list.secondBias),
        fractionBits_(axis.grades[list.grade].fractionBits),
        lowBits_(axis.grades[list.grade].lowBits),
        near_(axis.grades[list.grade].near) {}

  // An unsure sample's byte, or kOnlyPlainTells. `four(a, b, c, d)` gives these of the list's pairs, counted
  // from its first, as 16-bit numbers, and `four(a)` one and anything.
  template <class Four>
  PIXMORPH_INLINE_MEMBER std::int32_t At(const Four& four) const {
    const std::int32_t* const secondWords = words_ + SecondWords(pairs_);
    const std::int32_t last = pairs_ - 1;
    TwoSums sums;
    std::int32_t p = 0;
    for (; p + 4 <= pairs_; p += 4) sums.Add(four(p, p + 1, p + 2, p + 3), words_ + p, secondWords + p);
    // Words behind the last are 0. Lists of whole fours, begun at an odd sample, have one pair more.
    if (p == last)
      sums.Add(four(p), words_ + p, secondWords + p);
    else if (p < last)
      sums.Add(four(p, p + 1, p + 1 < last ? p + 2 : last, last), words_ + p, secondWords + p);
    std::int32_t first, second;
    sums.Finish(first, second);
    return Decide(first + bias_, second + secondBias_);
  }

 private:
  PIXMORPH_INLINE_MEMBER std::int32_t Decide(std::int32_t first, std::int32_t second) const {
    const std::int32_t fraction = first & ((1 << fractionBits_) - 1);
    const std::int32_t y = (fraction << lowBits_) + second;
    // Its absolute value against `near`, without a branch on its sign, which nothing could predict.
    if (static_cast<std::uint32_t>(y + near_ - 1) < 2 * static_cast<std::uint32_t>(near_) - 1)
      return kOnlyPlainTells;
    const std::int32_t whole = (first >> fractionBits_) - (y < 0 ? 1 : 0);
    return whole < 0 ? 0 : whole > 255 ? 255 : whole;
  }

  const std::int32_t* words_;
  std::int32_t pairs_, bias_, secondBias_, fractionBits_, lowBits_, near_;
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_SECOND_LOOK_H_
