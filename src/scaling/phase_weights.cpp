#include "scaling/phase_weights.h"

#include <string.h>

#include "support/numeric.h"

namespace pixmorph {

bool RoundsAlike(double x, double error) {
  return static_cast<float>(x - error) == static_cast<float>(x + error);
}

void FormWeights(const Filter& filter, double scale, double centre, std::int32_t first, std::int32_t count,
                 bool estimated, double* weights) {
  double distances[kWeightPiece] = {};
  for (std::int32_t n = 0; n < count; ++n) {
    const double distance = centre - (first + n) - 0.5;
    distances[n] = Magnitude(scale < 1.0 ? distance * scale : distance);
  }
  if (estimated) filter.estimate(distances, count, weights);
  for (std::int32_t n = 0; n < count; ++n)
    if (!estimated || (filter.error != 0.0 && !RoundsAlike(weights[n], Magnitude(weights[n]) * filter.error)))
      weights[n] = filter.weight(distances[n]);
}

void PhaseWeights::Begin(const Filter& filter, double scale) {
  if (filter_ == &filter && scale_ == scale) return;
  filter_ = &filter, scale_ = scale, used_ = 0;
  for (Phase& phase : phases_) phase.at = -1;
}

const double* PhaseWeights::Find(const TapWindow& window, std::int32_t first, std::int32_t last) {
  const std::int32_t whole = TruncateToInt32(window.centre);
  const double fraction = window.centre - whole;
  std::uint64_t bits;
  memcpy(&bits, &fraction, sizeof bits);
  const auto folded = static_cast<std::uint32_t>(bits) ^ static_cast<std::uint32_t>(bits >> 32);
  Phase& phase = phases_[(folded * 0x9E3779B1u) >> (32 - kSlotBits)];
  if (phase.at < 0 && !Remember(window, fraction, whole, phase)) return nullptr;
  // Both centres are sums of a whole number and the same fraction, so that their samples' distances are, too,
  // and are rounded alike. The windows' ends may be rounded in different ways.
  const std::int32_t shift = whole - phase.whole;
  if (phase.fraction != fraction || first < phase.first + shift || last > phase.last + shift) return nullptr;
  return weights_ + phase.at + (first - phase.first - shift);
}

bool PhaseWeights::Remember(const TapWindow& window, double fraction, std::int32_t whole, Phase& phase) {
  // Below 0 truncation goes the other way.
  const std::int64_t from = std::int64_t{window.first} - (window.first <= 0), count = window.last - from + 1;
  if (count > kRoom - used_) return false;
  const auto first = static_cast<std::int32_t>(from);
  phase = {fraction, whole, first, window.last, used_};
  while (used_ < phase.at + count) {
    const std::int32_t done = used_ - phase.at, left = static_cast<std::int32_t>(count) - done;
    const std::int32_t piece = left < kWeightPiece ? left : kWeightPiece;
    FormWeights(*filter_, scale_, window.centre, first + done, piece, true, weights_ + used_);
    used_ += piece;
  }
  return true;
}

}  // namespace pixmorph
