#include "kernels/resample_word_grade.h"

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kMostBits = 22, kLeastBits = 10;  // of the fraction
constexpr std::int32_t kMostLowBits = 14;  // a unit and a half, which a cut weight may lack, are below 2^15
constexpr std::int32_t kLeastLowBits = 4;
constexpr double kChannelMax = 255.0;
constexpr double kRoom = 1073741824.0;  // 2^30: for a second sum and everything that is added to it

}  // namespace

bool BlockGrade::Choose(const AxisWeights& of) {
  axis = of;
  return ChooseFixedPoint(axis, kMostBits, kLeastBits, kLargestWord, fixed) && FitThreshold() &&
         ChooseLowBits();
}

WordGrade BlockGrade::Word() const {
  const std::int32_t fraction = (1 << fixed.fractionBits) - 1, threshold = 2 * fixed.error;
  WordGrade grade = {fixed.fractionBits, lowBits, threshold, near, fraction, threshold};
  if (threshold <= kLargestWord) return grade;
  // A power of two by `FitThreshold`: such fractions have no higher bit.
  grade.doubtMask = fraction & -threshold;
  grade.doubtBelow = 1;
  return grade;
}

std::int32_t BlockGrade::SecondBias(const WeightBlock& block, std::int32_t bias) const {
  const double fine = fixed.unit * (1 << lowBits);
  const TieRule& ties = block.ties;
  double aside = ties.step * fine / 2.0;
  if (aside > kRoom / 2.0) aside = kRoom / 2.0;
  if (aside - ties.spread * fine <= near + 1.0) aside = 0.0;
  const std::int32_t back = (1 << (fixed.fractionBits - 1)) - bias;
  return back * (1 << lowBits) + NearestInteger(ties.up ? aside : -aside);
}

// A threshold of more than 16 bits is told by its bits alone.
bool BlockGrade::FitThreshold() { return 2 * fixed.error <= kLargestWord || RoundErrorUp(fixed); }

// What rounding leaves of a weight is at most half a unit, or one and a half where it is cut, and a bias
// differs from the rounding half by less than 5 errors.
bool BlockGrade::ChooseLowBits() {
  const std::int32_t longest = LongestBlock(axis);
  const double most = 8.0 * fixed.error + kChannelMax * longest * 1.5;
  for (lowBits = kMostLowBits; lowBits >= kLeastLowBits; --lowBits)
    if (most * (1 << lowBits) < kRoom) break;
  // Half a step of the second sum for each tap, and what `ScaledWeight` and the plain doubles may be off.
  near = TruncateToInt32(kChannelMax * longest) + 2;
  return lowBits >= kLeastLowBits;
}

}  // namespace pixmorph::kernels
