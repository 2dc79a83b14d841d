#ifndef PIXMORPH_KERNELS_RESAMPLE_FIXED_POINT_H_
#define PIXMORPH_KERNELS_RESAMPLE_FIXED_POINT_H_

#include <cstdint>

#include "kernels/resample_weights.h"
#include "support/numeric.h"

// Integers in the place of an axis's weights, with a proven bound of the error. A sum of integers times
// samples, started from a block's bias, lies above the exact channel value plus 1/2 (in units of
// 2^-fractionBits) by at most 2 errors. So its whole part is the rounded channel unless its fraction is
// smaller than 2 errors.
namespace pixmorph::kernels {

struct FixedPoint {
  std::int32_t fractionBits;
  double unit;           // 2^fractionBits
  std::int32_t error;    // units; of the worst block, once its bias has taken out what is one-sided
  std::int32_t largest;  // integer
};

// To the nearest integer; |x| < 2^31 - 1. [pure]
PIXMORPH_INLINE std::int32_t NearestInteger(double x) { return TruncateToInt32(x < 0.0 ? x - 0.5 : x + 0.5); }

// The nearest integer of a weight in units, of those up to `largest`. [pure]
PIXMORPH_INLINE std::int32_t LimitedInteger(double x, std::int32_t largest) {
  const std::int32_t w = NearestInteger(x);
  return w > largest ? largest : w < -largest ? -largest : w;
}

// The exact weight of a tap in units. [pure]
PIXMORPH_INLINE double ScaledWeight(const AxisWeights& axis, const WeightBlock& block, std::int32_t tap,
                                    double unit) {
  return static_cast<double>(axis.weights[block.offset + tap]) * (unit / static_cast<double>(block.sum));
}

// The finest unit between 2^most and 2^least with which no integer exceeds `largest`, by more than 1 that
// is cut off, and no sum overflows 31 bits. False when there is none, or when the error could reach a
// quarter.
bool ChooseFixedPoint(const AxisWeights& axis, std::int32_t most, std::int32_t least, std::int32_t largest,
                      FixedPoint& chosen);

// Makes the error a power of two, so that a fraction below 2 errors can be told by its bits. False when it
// could reach a quarter then. Before biases are asked for, which depend on it.
bool RoundErrorUp(FixedPoint& fixed);

// Where sums over a block of nearest integers start, in units. Ties that a rule decides are kept clear of the
// fractions below 2 errors where that brings nothing else there. [pure]
std::int32_t BiasOf(const AxisWeights& axis, const WeightBlock& block, const FixedPoint& fixed);

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_FIXED_POINT_H_
