#include "kernels/resample_pairs.h"

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kMostBlocks =
    40;  // more of them repeat so seldom that verifying costs more than it saves
constexpr std::int32_t kLargestFactor = 60;  // 255 x (tau + kappa) stays below 2^15

double Magnitude(double x) { return x < 0.0 ? -x : x; }

std::int32_t Nearest(double x) { return TruncateToInt32(x < 0.0 ? x - 0.5 : x + 0.5); }

// The weights of a block as the plain evaluation has them: `a` the larger.
struct Weights {
  double a, b, sum;
  bool aFirst;

  std::int32_t Plain(std::int32_t ca, std::int32_t cb) const {
    // In the order of the taps.
    const double total = aFirst ? a * ca + b * cb : b * cb + a * ca;
    return RoundToByte(total / sum);
  }
};

std::int32_t Packed(const PairBlock& block, std::int32_t a, std::int32_t d) {
  const std::int32_t x = d * block.multiplier + 0x8000;
  const auto low = static_cast<std::int16_t>(x & 0xFFFF);
  std::int32_t floor = (x - (x & 0xFFFF)) / 0x10000;
  if (low < -kPairZone - 1 || low > kPairZone) return a + floor;
  // Near a tie: `floor` is that of one side, whichever the low half says.
  if (low < 0) ++floor;
  return a + floor - (a * block.tau + d * block.kappa + block.offset < 0 ? 1 : 0);
}

// Whether the packed form is right for one difference. Both sides change at most once as a grows, so they
// agree everywhere when they agree at the ends and on both sides of the plain one's change.
bool RightFor(const PairBlock& block, const Weights& weights, std::int32_t d) {
  const auto right = [&](std::int32_t a) { return Packed(block, a, d) == weights.Plain(a, a + d); };
  const auto rise = [&](std::int32_t a) { return weights.Plain(a, a + d) - a; };
  std::int32_t low = d < 0 ? -d : 0, high = d > 0 ? 255 - d : 255;
  if (!right(low) || !right(high)) return false;
  const std::int32_t first = rise(low);
  if (first == rise(high)) return true;
  while (high - low > 1) {
    const std::int32_t middle = (low + high) / 2;
    (rise(middle) == first ? low : high) = middle;
  }
  return right(low) && right(high);
}

bool Right(const PairBlock& block, const Weights& weights) {
  for (std::int32_t d = -255; d <= 255; ++d)
    if (!RightFor(block, weights, d)) return false;
  return true;
}

// How the plain evaluation decides near-ties: a x tau + d x kappa >= 0 rounds up, with tau what the weights'
// own rounding adds to their sum, and kappa what it adds to b's weight beyond the ratio that makes the tie
// exact. Only the ratio of the two matters, and that is one of small integers.
void ChooseRule(PairBlock& block, const Weights& weights) {
  const double tau = weights.a + weights.b - weights.sum;
  double kappa = 0.0;
  for (std::int32_t d = -255; d <= 255; ++d) {
    const auto low = static_cast<std::int16_t>((d * block.multiplier + 0x8000) & 0xFFFF);
    if (d == 0 || low < -kPairZone - 1 || low > kPairZone) continue;
    const double tie = Nearest((d * weights.b / weights.sum - 0.5)) + 0.5;
    kappa = (weights.b * d - weights.sum * tie) / d;
    break;
  }
  const double large = Magnitude(tau) > Magnitude(kappa) ? Magnitude(tau) : Magnitude(kappa);
  if (large == 0.0) return;
  for (std::int32_t factor = 1; factor <= kLargestFactor; ++factor) {
    const double t = tau / large * factor, k = kappa / large * factor;
    if (Magnitude(t - Nearest(t)) > 1e-3 || Magnitude(k - Nearest(k)) > 1e-3) continue;
    block.tau = static_cast<std::int16_t>(Nearest(t));
    block.kappa = static_cast<std::int16_t>(Nearest(k));
    return;
  }
}

bool PackBlock(const AxisWeights& axis, const WeightBlock& block, PairBlock& packed) {
  packed = {};
  const double first = static_cast<double>(axis.weights[block.offset]);
  if (block.count > 2) return false;
  const double second = block.count == 2 ? static_cast<double>(axis.weights[block.offset + 1]) : 0.0;
  const double sum = static_cast<double>(block.sum);
  if (first < 0.0 || second < 0.0 || !(sum > 0.0)) return false;
  const Weights weights =
      first >= second ? Weights{first, second, sum, true} : Weights{second, first, sum, false};
  packed.heavy = static_cast<std::int8_t>(weights.aFirst ? 0 : 1);
  const std::int32_t multiplier = Nearest(weights.b / sum * 65536.0);
  packed.multiplier = static_cast<std::int16_t>(multiplier > 32767 ? 32767 : multiplier);
  packed.light = weights.b > 0.0 ? static_cast<std::int8_t>(1 - packed.heavy) : packed.heavy;
  packed.averages = IsAverage(axis, block);
  if (packed.averages) return true;
  if (packed.light == packed.heavy || multiplier > 0) ChooseRule(packed, weights);
  return Right(packed, weights);
}

}  // namespace

std::int64_t PairsBytes(const AxisWeights& axis) {
  return ByteSize(axis.blockCount).Times(sizeof(PairBlock)).Bytes();
}

bool PackPairs(const AxisWeights& axis, void* memory, PairAxis& packed) {
  auto* const blocks = static_cast<PairBlock*>(memory);
  if (axis.blockCount > kMostBlocks) return false;
  bool copies = true, averages = true;
  for (std::int32_t b = 0; b < axis.blockCount; ++b) {
    if (!PackBlock(axis, axis.blocks[b], blocks[b])) return false;
    if (blocks[b].multiplier != 0) copies = false;
    if (!blocks[b].averages) averages = false;
  }
  packed = {axis, blocks, copies, averages};
  return true;
}

}  // namespace pixmorph::kernels
