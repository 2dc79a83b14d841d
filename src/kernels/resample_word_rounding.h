#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_ROUNDING_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_ROUNDING_H_

#include "kernels/resample_words.h"

namespace pixmorph::kernels {

namespace {

// How four vectors of sums become one of bytes.
template <class V>
class WordRounding {
 public:
  using Vec = typename V::Vec;

  PIXMORPH_INLINE_MEMBER explicit WordRounding(const WordGrade& grade)
      : down_(V::ShiftCount(grade.fractionBits)),
        mask_(V::Set(grade.doubtMask)),
        below_(V::Set16(static_cast<std::int16_t>(grade.doubtBelow))) {}

  // A byte for each sum: not 0 where its fraction is below the threshold. Packing leaves what is too large
  // for 16 bits above every threshold.
  PIXMORPH_INLINE_MEMBER Vec Unsure(const Vec (&sums)[4]) const {
    return V::PackSigned16(V::Greater16(below_, Doubts(sums[0], sums[1])),
                           V::Greater16(below_, Doubts(sums[2], sums[3])));
  }

  // The clamped whole parts.
  PIXMORPH_INLINE_MEMBER Vec Bytes(const Vec (&sums)[4]) const {
    const Vec low = V::PackSigned32(V::ShiftRight(sums[0], down_), V::ShiftRight(sums[1], down_));
    const Vec high = V::PackSigned32(V::ShiftRight(sums[2], down_), V::ShiftRight(sums[3], down_));
    return V::PackUnsigned16(low, high);
  }

 private:
  PIXMORPH_INLINE_MEMBER Vec Doubts(Vec a, Vec b) const {
    return V::PackSigned32(V::And(a, mask_), V::And(b, mask_));
  }

  typename V::Count down_;
  Vec mask_, below_;
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_ROUNDING_H_
