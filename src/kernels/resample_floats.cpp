#include "kernels/resample_floats.h"

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

constexpr double kMargin = 0.0002;  // covers the rounding of the bound itself many times over

std::int32_t Even(std::int32_t count) { return (count + 1) / 2 * 2; }

}  // namespace

std::int64_t FloatsBytes(const AxisWeights& axis) {
  std::int64_t floats = 0;
  for (std::int32_t b = 0; b < axis.blockCount; ++b) floats += std::int64_t{axis.blocks[b].count} + 1;
  return ByteSize(floats).Times(4).Plus(ByteSize(axis.blockCount).Times(sizeof(FloatBlock)).Bytes()).Bytes();
}

bool PackFloats(const AxisWeights& axis, void* memory, FloatAxis& packed) {
  auto* const blocks = static_cast<FloatBlock*>(memory);
  auto* const weights = reinterpret_cast<float*>(blocks + axis.blockCount);
  std::int32_t used = 0;
  double worst = 0.0;
  for (std::int32_t b = 0; b < axis.blockCount; ++b) {
    const WeightBlock& block = axis.blocks[b];
    double size = 0.0;
    blocks[b] = {used, Even(block.count), 0.0f};
    weights[used + blocks[b].count - 1] = 0.0f;
    for (std::int32_t t = 0; t < block.count; ++t) {
      const double share =
          static_cast<double>(axis.weights[block.offset + t]) / static_cast<double>(block.sum);
      size += share < 0.0 ? -share : share;
      weights[used + t] = static_cast<float>(share);
    }
    used += blocks[b].count;
    // No partial sum exceeds 255 x size. Each of the roundings - the weight's own, the product's, one a tap
    // for the additions, one for adding two halves - is off by 2^-24 of that at most; the rounding errors of
    // the plain evaluation are far below the last of the spare ones.
    const double error = 255.0 * size * (block.count + 6.0) / 16777216.0;
    if (error > worst) worst = error;
  }
  // Half a step takes ties that a rule decides, which are frequent, to the right side of the boundary and
  // brings nothing else near it.
  for (std::int32_t b = 0; b < axis.blockCount; ++b) {
    const TieRule ties = TiesOf(axis, axis.blocks[b]);
    if (ties.step / 2.0 - ties.spread <= worst + kMargin || ties.step < 1.0 / 512.0) continue;
    blocks[b].start = static_cast<float>(ties.up ? ties.step / 2.0 : -ties.step / 2.0);
  }
  packed = {axis, blocks, weights, static_cast<float>(0.5 - worst - kMargin / 2.0)};
  return worst < 0.125;
}

}  // namespace pixmorph::kernels
