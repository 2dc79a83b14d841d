#ifndef PIXMORPH_KERNELS_RESAMPLE_QUADS_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUADS_H_

#include <cstdint>

#include "kernels/resample_weights.h"

// Weights as fixed-point numbers in three signed bytes, four taps to a word, for instructions that multiply
// four bytes by four bytes. Taps are grouped by fours counted from sample 0: a quad is samples 4q .. 4q + 3.
//
// With v the exact channel value of a list and `sum` the integer the digits give (plus the list's bias),
//   v + 1/2 lies in (sum - slack, sum] x 2^-fractionBits, slack <= a threshold,
// so that sum >> fractionBits is the rounded channel unless the fraction is below the threshold; those few
// samples are to be computed again as plain doubles.
namespace pixmorph::kernels {

struct QuadList {
  std::int32_t quad;   // first quad; quad + quads never passes the source's last quad
  std::int32_t quads;  // 1 or more
  std::int32_t words;  // index into `digits`: three words per quad, most significant digit first
  std::int32_t bias;   // where the sum starts
  // 1 where only the most significant digits are not 0, of simple weights that shrink to a power of two, and
  // no sum is in question; otherwise 3. With `uniform` of the lists 4n .. 4n + 3 together.
  std::int32_t digits;
};

struct QuadAxis {
  AxisWeights exact;
  const QuadList* lists;  // as many as `exact` has, then the last repeated up to a multiple of 4
  const std::int32_t* digits;
  std::int32_t fractionBits;
  std::int32_t doubtMask;  // bits of the sum: all 0 where the fraction is below the threshold, a power of two
  std::int32_t widest;     // quads of the list that has most
};

// Output columns up to `end` that are made from the source quads quad .. quadEnd - 1.
struct QuadStretch {
  std::int32_t end, quad, quadEnd;
};

// Memory that `PackQuads` needs, in bytes; negative when it has no size. [pure]
std::int64_t QuadsBytes(const AxisWeights& axis);

// Packs an axis into `memory` (QuadsBytes bytes, aligned to 4). With `uniform` every list gets as many quads
// as the widest. False when the weights don't suit this form: far too many or far too large.
bool PackQuads(const AxisWeights& axis, bool uniform, void* memory, QuadAxis& packed);

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUADS_H_
