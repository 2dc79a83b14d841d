#ifndef PIXMORPH_KERNELS_RESAMPLE_PAIRS_H_
#define PIXMORPH_KERNELS_RESAMPLE_PAIRS_H_

#include <cstdint>

#include "kernels/resample_weights.h"

// Lists of one or two taps (an enlargement by triangle or box) in 16-bit arithmetic. With `a` the sample that
// weighs more, d = b - a and x = d x multiplier + 2^15 as a 32-bit number,
//   channel = a + floor(x / 2^16),
// save that near a tie - the low half of x within kPairZone of 0 - the sign of a x tau + d x kappa + offset
// decides: there the plain evaluation depends on how the float weights were rounded. Every block is verified.
// Copies and averages of two are simpler still.
namespace pixmorph::kernels {

constexpr std::int16_t kPairZone = 300;

struct PairBlock {
  std::int16_t multiplier;  // 0 .. 32767; 0: the channel is a
  std::int16_t tau, kappa, offset;
  std::int8_t heavy, light;  // places of a and b in the list; equal when the multiplier is 0
  bool averages;             // the channel is (a + b + 1) / 2, or a where there is no b
};

struct PairAxis {
  AxisWeights exact;
  const PairBlock* blocks;  // as many as `exact` has
  bool copies;              // every multiplier is 0
  bool averages;            // every block averages
};

// A vector of neighbouring output columns: where their samples begin in the source, and how they are made.
struct PairGroup {
  std::int32_t base;
  std::int32_t record;
};

// Memory that `PackPairs` needs, in bytes. [pure]
std::int64_t PairsBytes(const AxisWeights& axis);

// Packs an axis into `memory` (PairsBytes bytes, aligned to 4). False when a list has more than two taps,
// can't be met exactly in this form, or when verifying all blocks would take long.
bool PackPairs(const AxisWeights& axis, void* memory, PairAxis& packed);

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_PAIRS_H_
