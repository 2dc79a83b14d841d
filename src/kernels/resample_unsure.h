#ifndef PIXMORPH_KERNELS_RESAMPLE_UNSURE_H_
#define PIXMORPH_KERNELS_RESAMPLE_UNSURE_H_

#include <cstdint>

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

// Samples that need a second look, kept for later: looking at once would often mislead the processor about
// the way that the loop goes.
class Unsure {
 public:
  static constexpr std::int32_t kMost = 128;

  // Up to 32 samples, a bit each; `place` says where, as the reader likes. Not when full.
  PIXMORPH_INLINE_MEMBER void Add(std::uint32_t place, std::uint32_t bits) {
    places_[count_] = place, bits_[count_] = bits;
    count_ += bits != 0 ? 1 : 0;
  }
  PIXMORPH_INLINE_MEMBER bool HasRoom(std::int32_t entries) const { return count_ <= kMost - entries; }

  // Calls look(place, number of the bit) for all of them and forgets them. Without a loop over the bits of
  // one entry, whose end nothing could predict.
  template <class Look>
  PIXMORPH_INLINE_MEMBER void TakeAll(const Look& look) {
    const std::int32_t count = count_;
    for (std::int32_t n = 0; n < count;) {
      const std::uint32_t bits = bits_[n], rest = bits & (bits - 1);
      const std::uint32_t place = places_[n];
      bits_[n] = rest;
      n += rest == 0 ? 1 : 0;
      look(place, static_cast<std::uint32_t>(__builtin_ctz(bits)));
    }
    count_ = 0;
  }

 private:
  std::uint32_t places_[kMost];
  std::uint32_t bits_[kMost];
  std::int32_t count_ = 0;
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_UNSURE_H_
