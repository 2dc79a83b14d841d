#ifndef PIXMORPH_KERNELS_RESAMPLE_FLOATS_H_
#define PIXMORPH_KERNELS_RESAMPLE_FLOATS_H_

#include <cstdint>

#include "kernels/resample_weights.h"

// Weights as floats divided by their list's sum, for processors that have no four-byte products.
namespace pixmorph::kernels {

struct FloatBlock {
  std::int32_t offset;  // into `weights`, even
  std::int32_t count;   // even: the last may be a 0 of padding
  float start;          // where the sum starts: small, lifts exact ties clear of the boundary
};

struct FloatAxis {
  AxisWeights exact;
  const FloatBlock* blocks;  // as many as `exact` has
  const float* weights;
  // A float sum whose distance from the nearest integer is at most this rounds as the plain evaluation does.
  // Other samples are to be computed again as plain doubles.
  float sure;
};

// Memory that `PackFloats` needs, in bytes; negative when it has no size. [pure]
std::int64_t FloatsBytes(const AxisWeights& axis);

// Packs an axis into `memory` (FloatsBytes bytes, aligned to 4). False when float sums could be too far off.
bool PackFloats(const AxisWeights& axis, void* memory, FloatAxis& packed);

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_FLOATS_H_
