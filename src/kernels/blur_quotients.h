#ifndef PIXMORPH_KERNELS_BLUR_QUOTIENTS_H_
#define PIXMORPH_KERNELS_BLUR_QUOTIENTS_H_

#include "kernels/blur_kernel.h"

// Sums of a box and their quotients over one of the vector types of vec_*.h.
//
// Four pixels fill 16 bytes. Unpacked to 16 bits within each 16 bytes they fill a pair of vectors, `lo` with
// the first two pixels of every four and `hi` with the last two; packing such a pair puts them back in order.
namespace pixmorph::kernels {
namespace {

template <class V>
struct Pair {
  V lo, hi;
};

// 16-bit sums -> averages, packed to pixels.
template <class V, bool kShifted>
struct NarrowQuotient {
  explicit NarrowQuotient(const BlurPlan& plan)
      : factor(V::Set16(static_cast<std::int16_t>(plan.factor))), shift(plan.shift) {}
  PIXMORPH_INLINE_MEMBER V Of(V sums) const {
    const V high = V::MulHigh16(sums, factor);
    return kShifted ? V::ShiftRight16(high, shift) : high;
  }
  PIXMORPH_INLINE_MEMBER V Pixels(const Pair<V>& sums) const { return V::Pack16(Of(sums.lo), Of(sums.hi)); }
  V factor;
  int shift;
};

// 32-bit sums of the even and of the odd 16-bit lanes.
template <class V>
struct WideSums {
  V even, odd;
  // Adds 16-bit numbers, each to its 32-bit sum.
  PIXMORPH_INLINE_MEMBER void Add(V numbers) {
    even = V::AddPairs16(even, numbers, V::Set32(0x00000001));
    odd = V::AddPairs16(odd, numbers, V::Set32(0x00010000));
  }
};

template <class V>
struct WideQuotient {
  explicit WideQuotient(const BlurPlan& plan)
      : inverse(V::SetFloat(plan.inverse)), shiftedInverse(V::SetFloat(plan.inverse * 65536)) {}
  PIXMORPH_INLINE_MEMBER V Of(const WideSums<V>& sums) const {
    const V even = V::Truncate32(V::MulFloat(V::ToFloat32(sums.even), inverse));
    const V odd = V::Truncate32(V::MulFloat(V::ToFloat32(sums.odd), shiftedInverse));
    return V::Or(even, V::And(odd, V::Set32(0xFFFF0000)));
  }
  V inverse, shiftedInverse;
};

template <class V>
struct HugeQuotient {
  explicit HugeQuotient(const BlurPlan& plan) : factor(V::Set32(plan.factor)), shift(plan.shift) {}
  PIXMORPH_INLINE_MEMBER V Of(V sums) const {
    const V low = V::ShiftRight64(V::MulEven32(sums, factor), 32 + shift);
    const V high = V::ShiftRight64(V::MulEven32(V::ShiftRight64(sums, 32), factor), shift);
    return V::Or(low, V::And(high, V::Set64(0xFFFFFFFF00000000u)));
  }
  PIXMORPH_INLINE_MEMBER V Of(const WideSums<V>& sums) const {
    return V::Or(Of(sums.even), V::ShiftLeft32(Of(sums.odd), 16));
  }
  V factor;
  int shift;
};

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_BLUR_QUOTIENTS_H_
