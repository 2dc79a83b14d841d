#include "scaling/contributions.h"

#include <cstdint>

#include "support/numeric.h"

namespace pixmorph {

namespace {

// The taps of the list with that window, cut off at the source's ends, into its `capacity` entries. Estimated
// weights may be known. False when the sum of what was estimated may be another float than that of the
// weights.
bool FillList(const Filter& filter, const ResampleAxis& axis, const TapWindow& window, bool estimated,
              const double* known, std::int64_t capacity, ContributionList& list) {
  double formed[kWeightPiece], sum = 0.0, size = 0.0;
  list.count = 0;
  for (std::int32_t first = window.first; first <= window.last; first += kWeightPiece) {
    const std::int32_t left = window.last - first + 1, count = left < kWeightPiece ? left : kWeightPiece;
    if (!known) FormWeights(filter, axis.scale, window.centre, first, count, estimated, formed);
    const double* const weights = known ? known + (first - window.first) : formed;
    for (std::int32_t n = 0; n < count; ++n) {
      if (weights[n] == 0.0) continue;
      // The room is enough for exact arithmetic; a rounding at the window's very end must not pass it.
      if (list.count == capacity) break;
      list.entries[list.count++] = {static_cast<float>(weights[n]), first + n};
      sum += weights[n];
      size += Magnitude(weights[n]);
    }
  }
  list.weightSum = static_cast<float>(sum);
  // Each addition rounds, too, on both sides.
  return !estimated || filter.error == 0.0 || RoundsAlike(sum, size * (filter.error + list.count * 0x1p-52));
}

// Where output sample i looks for taps.
TapWindow WindowOf(const ResampleAxis& axis, double radius, std::int32_t i) {
  const double centre = (i + 0.5) / axis.scale;
  return {centre, TruncateToInt32(centre - radius), TruncateToInt32(centre + radius)};
}

// The part of the window that lies inside the source.
TapWindow CutOff(TapWindow window, std::int32_t sourceLength) {
  if (window.first < 0) window.first = 0;
  if (window.last > sourceLength - 1) window.last = sourceLength - 1;
  return window;
}

}  // namespace

std::int64_t ResampleAxis::Capacity(const Filter& filter) const {
  const double radius = Radius(filter);
  return horizontal ? 2 * (TruncateToInt64(radius) + 1) : TruncateToInt64(2.0 * radius + 2.0);
}

bool ContributionTable::Allocate(std::int32_t count) {
  Release();
  lists_ = WorkBuffer<ContributionList>(ByteSize(count).Times(sizeof(ContributionList)).Bytes());
  if (!lists_) return false;
  count_ = count;
  return true;
}

void ContributionTable::Build(const Filter& filter, const ResampleAxis& axis, PhaseWeights& phases) {
  const double radius = axis.Radius(filter);
  const std::int64_t capacity = axis.Capacity(filter);
  const std::int64_t bytes = ByteSize(capacity).Times(sizeof(Contribution)).Bytes();
  phases.Begin(filter, axis.scale);
  for (std::int32_t i = 0; i < axis.count; ++i) {
    ContributionList& list = lists_[i];
    list = {static_cast<Contribution*>(AllocateClearMemory(bytes)), 0, 0.0f};
    if (!list.entries) continue;
    const TapWindow window = WindowOf(axis, radius, i), inside = CutOff(window, axis.sourceLength);
    const double* const known = phases.Find(window, inside.first, inside.last);
    if (!FillList(filter, axis, inside, true, known, capacity, list))
      FillList(filter, axis, inside, false, nullptr, capacity, list);
  }
}

void ContributionTable::FreeEntries() {
  for (std::int32_t i = 0; i < count_; ++i) {
    FreeMemoryNow(lists_[i].entries);
    lists_[i] = {nullptr, 0, 0.0f};
  }
}

void ContributionTable::Release() {
  FreeEntries();
  lists_.Release();
  count_ = 0;
}

}  // namespace pixmorph
