#ifndef PIXMORPH_KERNELS_RESAMPLE_PAIRS_H_
#define PIXMORPH_KERNELS_RESAMPLE_PAIRS_H_

#include <cstdint>

#include "kernels/resample_weights.h"

// Lists of one or two taps (an enlargement by triangle or box) in 16-bit arithmetic. With `a` the sample that
// weighs more, d = b - a and x = d x multiplier,
//   channel = a + floor(x / 2^16) + (low >= 2^15 ? 1 : 0), where
//   low = the low half of x, plus a x tau + offset, held within 0 .. 2^16 - 1.
// At ties the plain evaluation depends on how the float weights were rounded. The multiplier is off the exact
// one in the direction in which b's weight is, and tau is in proportion. Every block is verified. Copies and
// averages of two are simpler still where nothing else is in the way.
namespace pixmorph::kernels {

struct PairBlock {
  std::int16_t multiplier;   // 0 .. 32767; 0: the channel is a
  std::int16_t tau;          // -kLargestTau .. kLargestTau
  std::int16_t offset;       // 0 unless the block averages
  std::int8_t heavy, light;  // places of a and b in the list; equal when the multiplier is 0
  bool averages;             // the channel is (a + b + 1) / 2, or a where there is no b
};

constexpr std::int32_t kLargestTau = 127;  // times 255 it stays below 2^15

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
