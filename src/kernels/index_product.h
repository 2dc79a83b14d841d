#ifndef PIXMORPH_KERNELS_INDEX_PRODUCT_H_
#define PIXMORPH_KERNELS_INDEX_PRODUCT_H_

#include <cstdint>

#include "support/numeric.h"

// trunc(index × ratio) as an x87 register of 64 significant bits gives it, formed in integers. A product that
// is rounded to double first, or left to the compiler's choice of registers, differs where the ratio is a
// rounded-down quotient and the exact product of the quotient is whole: (source 2, new 6, index 3) gives 0.
namespace pixmorph::kernels {

class IndexRatio {
 public:
  IndexRatio() = default;
  // `ratio` is a normal number above 0 and below 2^31. [pure]
  PIXMORPH_INLINE_MEMBER explicit IndexRatio(double ratio) {
    std::uint64_t bits = 0;
    __builtin_memcpy(&bits, &ratio, sizeof bits);
    low_ = static_cast<std::uint32_t>(bits);
    high_ = (static_cast<std::uint32_t>(bits >> 32) & 0xFFFFFu) | 0x100000u;
    shift_ = 1075 - static_cast<std::int32_t>(bits >> 52);
  }

  // trunc(index × ratio), the product rounded to 64 significant bits, to nearest, ties to even. index >= 0;
  // the result must be below 2^31. [pure]
  PIXMORPH_INLINE_MEMBER std::int32_t Times(std::int32_t index) const {
    const auto factor = static_cast<std::uint32_t>(index);
    const std::uint64_t low = std::uint64_t{low_} * factor;
    const std::uint64_t high = std::uint64_t{high_} * factor + (low >> 32);
    const auto lowest = static_cast<std::uint32_t>(low);
    if (high >> 32 == 0) return Shifted((high << 32) | lowest, shift_);
    // 32 + bits of `high` significant bits: the lowest `excess` of them don't fit.
    const int excess = 32 - __builtin_clz(static_cast<std::uint32_t>(high >> 32));
    const std::uint64_t kept = (high << (32 - excess)) | (lowest >> excess);
    const std::uint32_t dropped = lowest & ((1u << excess) - 1);
    const std::uint32_t half = 1u << (excess - 1);
    const bool up = dropped > half || (dropped == half && (kept & 1) != 0);
    const std::uint64_t rounded = kept + (up ? 1 : 0);
    if (rounded == 0) return Shifted(std::uint64_t{1} << 63, shift_ - excess - 1);  // carried to 2^64
    return Shifted(rounded, shift_ - excess);
  }

 private:
  PIXMORPH_INLINE_MEMBER static std::int32_t Shifted(std::uint64_t value, std::int32_t by) {
    return by >= 64 ? 0 : static_cast<std::int32_t>(value >> by);
  }

  std::uint32_t low_ = 0;  // of the 53-bit significand
  std::uint32_t high_ = 0;
  std::int32_t shift_ = 0;  // the ratio is significand / 2^shift
};

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_INDEX_PRODUCT_H_
