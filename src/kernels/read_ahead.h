#ifndef PIXMORPH_KERNELS_READ_AHEAD_H_
#define PIXMORPH_KERNELS_READ_AHEAD_H_

#include <cstddef>
#include <cstdint>

#include "support/numeric.h"

namespace pixmorph::kernels {
namespace {

// How far ahead of its loads a pass over a whole picture asks the second-level cache for what comes: a few
// rows of a large picture. Nearer than that, or into the first level, costs more than it saves. [bytes]
constexpr std::ptrdiff_t kReadAhead = 64 << 10;

// For a loop that takes kBytes of kRows neighbouring rows at a time, `offset` into each. Several rows at once
// are several streams, each of which ends with its page as processors see it; memory is asked in the order in
// which the rows lie, as one stream. A hint only: it may pass the picture's end, or miss where rows are
// padded.
template <int kRows, std::ptrdiff_t kBytes>
PIXMORPH_INLINE void ReadAhead(const std::uint8_t* firstRow, std::ptrdiff_t offset) {
  constexpr std::ptrdiff_t kTaken = kRows * kBytes;
  const std::uint8_t* const place = firstRow + kReadAhead + offset * kRows;
  if (kTaken < 64 && offset * kRows % 64 >= kTaken) return;
  for (std::ptrdiff_t line = 0; line < kTaken; line += 64) __builtin_prefetch(place + line, 0, 2);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_READ_AHEAD_H_
