#include "kernels/resample_fixed_point.h"

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

constexpr double kChannelMax = 255.0;

// How well one block is met by integers of a unit.
struct Fit {
  bool usable = true;
  double middle = 0.0;  // of the error, in units: true value minus integer sum
  double half = 0.0;    // half the error's width
};

// Channels are 0 .. 255, so errors e of the single weights give a sum between 255 times the negative ones and
// 255 times the positive ones.
Fit FitOf(const AxisWeights& axis, const WeightBlock& block, double unit, std::int32_t largest) {
  Fit fit;
  double above = 0.0, below = 0.0, total = 0.0;
  for (std::int32_t t = 0; t < block.count; ++t) {
    const double x = ScaledWeight(axis, block, t, unit);
    // One more than the largest is met by the largest: a weight of 1 may take as many bits as one below it.
    if (!(x < largest + 1.5 && x > -largest - 1.5)) return {false, 0.0, 0.0};
    const std::int32_t w = LimitedInteger(x, largest);
    const double e = x - w;
    (e > 0.0 ? above : below) += e;
    total += w < 0 ? -static_cast<double>(w) : static_cast<double>(w);
  }
  // Room for the bias: less than 2 x unit.
  if (total * kChannelMax + 2.0 * unit >= 2147483647.0) fit.usable = false;
  fit.middle = (above + below) * kChannelMax / 2;
  fit.half = (above - below) * kChannelMax / 2;
  return fit;
}

// Usually sums lie above the truth by 0 to 2 errors. Where ties are decided by a rule and are frequent, they
// are kept clear of the threshold, 2 errors, on either side, so that they need no second look; what comes
// next to a tie must not get there instead.
std::int32_t ErrorsAbove(const WeightBlock& block, const FixedPoint& fixed) {
  const TieRule& ties = block.ties;
  if ((ties.step - ties.spread) * fixed.unit <= 4.0 * fixed.error) return 1;
  return ties.up ? 3 : -1;
}

}  // namespace

bool ChooseFixedPoint(const AxisWeights& axis, std::int32_t most, std::int32_t least, std::int32_t largest,
                      FixedPoint& chosen) {
  for (std::int32_t bits = most; bits >= least; --bits) {
    const double unit = static_cast<double>(1 << bits);
    bool usable = true;
    double half = 0.0;
    for (std::int32_t b = 0; b < axis.blockCount && usable; ++b) {
      const Fit fit = FitOf(axis, axis.blocks[b], unit, largest);
      usable = fit.usable;
      if (fit.half > half) half = fit.half;
    }
    if (!usable) continue;
    // One unit more: half a unit for rounding the middle to an integer, the rest covers the rounding errors
    // of the plain double evaluation, count x 2^-52 x 255 x unit < 0.01 for the counts that pass the next
    // test.
    chosen = {bits, unit, TruncateToInt32(half + 2.0), largest};
    return 4.0 * chosen.error < unit;
  }
  return false;
}

bool RoundErrorUp(FixedPoint& fixed) {
  std::int32_t power = 1;
  while (power < fixed.error) power *= 2;
  fixed.error = power;
  return 4.0 * fixed.error < fixed.unit;
}

std::int32_t BiasOf(const AxisWeights& axis, const WeightBlock& block, const FixedPoint& fixed) {
  const double middle = FitOf(axis, block, fixed.unit, fixed.largest).middle;
  return (1 << (fixed.fractionBits - 1)) + NearestInteger(middle) + fixed.error * ErrorsAbove(block, fixed);
}

}  // namespace pixmorph::kernels
