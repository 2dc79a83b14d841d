#include "kernels/resample_pairs.h"

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kMostBlocks =
    40;  // more of them repeat so seldom that verifying costs more than it saves
constexpr std::int32_t kMultipliersTried = 4;

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
  const std::int32_t x = d * block.multiplier, low = x & 0xFFFF, moved = low + a * block.tau + block.offset;
  const bool up = moved >= 0x8000;
  return a + (x - low) / 0x10000 + (up ? 1 : 0);
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
// exact. 0: there are no ties.
double KappaOf(const Weights& weights) {
  const double ratio = weights.b / weights.sum, near = 300.0 / 65536.0;
  for (std::int32_t d = 1; d <= 255; ++d) {
    const double tie = Nearest(d * ratio - 0.5) + 0.5;
    if (Magnitude(d * ratio - tie) < near) return (weights.b * d - weights.sum * tie) / d;
  }
  return 0.0;
}

// Only the ratio of tau and kappa matters, and for a tau that is by far the larger, not even that.
bool FindTau(PairBlock& block, const Weights& weights, double tau) {
  const std::int32_t sign = tau < 0.0 ? -1 : 1, exact = Nearest(tau);
  const std::int32_t candidates[] = {exact, exact + 1, exact - 1, sign, 2 * sign, 4 * sign, 8 * sign};
  for (const std::int32_t tried : candidates) {
    if (tried > kLargestTau || tried < -kLargestTau) continue;
    block.tau = static_cast<std::int16_t>(tried);
    if (Right(block, weights)) return true;
  }
  return false;
}

bool FindFactors(PairBlock& block, const Weights& weights) {
  const double tau = weights.a + weights.b - weights.sum, kappa = KappaOf(weights);
  const double exact = (weights.b - kappa) / weights.sum * 65536.0;
  for (std::int32_t step = 0; step < kMultipliersTried; ++step) {
    // Beside the exact one, on kappa's side. A thousandth keeps exact integers what they are.
    const double nearest = kappa > 0.0 ? exact + 0.499 + step : kappa < 0.0 ? exact - 0.499 - step : exact;
    const std::int32_t multiplier = Nearest(nearest);
    if (multiplier < 0 || multiplier > 32767) continue;
    block.multiplier = static_cast<std::int16_t>(multiplier);
    if (FindTau(block, weights, kappa == 0.0 ? tau : (multiplier - exact) * tau / kappa)) return true;
    if (kappa == 0.0) return false;
  }
  return false;
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
  packed.light = weights.b > 0.0 ? static_cast<std::int8_t>(1 - packed.heavy) : packed.heavy;
  // Whatever the weight, products, sum and quotient are exact, so that there is nothing to verify.
  packed.averages = weights.a + weights.b == sum && (weights.b == weights.a || weights.b == 0.0);
  if (!packed.averages) return FindFactors(packed, weights);
  if (packed.light != packed.heavy) packed.multiplier = 32767, packed.offset = 255;
  return true;
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
