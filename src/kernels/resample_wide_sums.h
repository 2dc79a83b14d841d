#ifndef PIXMORPH_KERNELS_RESAMPLE_WIDE_SUMS_H_
#define PIXMORPH_KERNELS_RESAMPLE_WIDE_SUMS_H_

#include <cstdint>

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

// The two sums of two vectors with wide weights.
template <class V>
class WideSums {
 public:
  using Vec = typename V::Vec;

  PIXMORPH_INLINE_MEMBER explicit WideSums(std::int32_t bias)
      : a_(V::Set(0)), b_(a_), fineA_(V::Set(bias)), fineB_(fineA_) {}
  // One weight after the other, so that eight registers do.
  PIXMORPH_INLINE_MEMBER void Add(Vec a, Vec b, std::int32_t word, std::int32_t fineWord) {
    Vec weights = V::Set(word);
    a_ = V::MultiplyAdd(a, weights, a_);
    b_ = V::MultiplyAdd(b, weights, b_);
    weights = V::Set(fineWord);
    fineA_ = V::MultiplyAdd(a, weights, fineA_);
    fineB_ = V::MultiplyAdd(b, weights, fineB_);
  }
  PIXMORPH_INLINE_MEMBER Vec First() const { return V::Joined(a_, fineA_); }
  PIXMORPH_INLINE_MEMBER Vec Second() const { return V::Joined(b_, fineB_); }

 private:
  Vec a_, b_, fineA_, fineB_;
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WIDE_SUMS_H_
