#include "scaling/contributions.h"

#include <string.h>

#include <cstdint>

#include "support/numeric.h"

namespace pixmorph {

namespace {

// Where a list looks for taps.
struct Window {
  double centre = 0.0;
  std::int32_t first = 0, last = 0;

  Window() = default;
  Window(const ResampleAxis& axis, double radius, std::int32_t i) : centre((i + 0.5) / axis.scale) {
    // 32 bits hold every column, and what lies beyond them is beyond the row too.
    first = TruncateToInt32(centre - radius);
    last = TruncateToInt32(centre + radius);
    if (first < 0) first = 0;
    if (last > axis.sourceLength - 1) last = axis.sourceLength - 1;
  }

  // By how much the other window's samples, which lie at the same distances from its centre, must be moved to
  // be this one's. Below 0 when they don't. Taking a whole number from a centre that isn't smaller is exact.
  std::int32_t ShiftFrom(const Window& other) const {
    const std::int32_t shift = first - other.first;
    return last - other.last == shift && centre - shift == other.centre ? shift : -1;
  }
};

// Remembers lists by the fraction of their centres: they repeat with the ratio's period, too.
class ListMemory {
 public:
  ListMemory() { memset(lists_, 0xFF, sizeof lists_); }

  // A list remembered for a window with that fraction, or -1; from now on it is list i with `window`.
  std::int32_t Exchange(std::int32_t i, const Window& window, Window* other) {
    const double fraction = window.centre - TruncateToInt32(window.centre);
    std::uint64_t bits;
    memcpy(&bits, &fraction, sizeof bits);
    const auto folded = static_cast<std::uint32_t>(bits) ^ static_cast<std::uint32_t>(bits >> 32);
    const std::uint32_t slot = (folded * 0x9E3779B1u) >> (32 - kSlotBits);
    const std::int32_t known = lists_[slot];
    if (known >= 0) *other = windows_[slot];
    lists_[slot] = i, windows_[slot] = window;
    return known;
  }

 private:
  static constexpr int kSlotBits = 7;
  std::int32_t lists_[1 << kSlotBits];
  Window windows_[1 << kSlotBits];
};

// Whether all numbers within `error` of x are the same as a float.
bool RoundsAlike(double x, double error) {
  return static_cast<float>(x - error) == static_cast<float>(x + error);
}

double Magnitude(double x) { return x < 0.0 ? -x : x; }

// Samples whose weights are formed together.
constexpr std::int32_t kPiece = 32;

// The weights of `count` samples from `first` on, or estimates that as floats are the same.
void FormWeights(const Filter& filter, const ResampleAxis& axis, double centre, std::int32_t first,
                 std::int32_t count, bool estimated, double* weights) {
  double distances[kPiece];
  for (std::int32_t n = 0; n < count; ++n) {
    const double distance = centre - (first + n) - 0.5;
    distances[n] = Magnitude(axis.scale < 1.0 ? distance * axis.scale : distance);
  }
  if (estimated) filter.estimate(distances, count, weights);
  for (std::int32_t n = 0; n < count; ++n)
    if (!estimated || (filter.error != 0.0 && !RoundsAlike(weights[n], Magnitude(weights[n]) * filter.error)))
      weights[n] = filter.weight(distances[n]);
}

// The taps of the list with that window, into its `capacity` entries. False when the sum of what was
// estimated may be another float than that of the weights.
bool FillList(const Filter& filter, bool estimated, const ResampleAxis& axis, const Window& window,
              std::int64_t capacity, ContributionList& list) {
  double weights[kPiece], sum = 0.0, size = 0.0;
  list.count = 0;
  for (std::int32_t first = window.first; first <= window.last; first += kPiece) {
    const std::int32_t left = window.last - first + 1, count = left < kPiece ? left : kPiece;
    FormWeights(filter, axis, window.centre, first, count, estimated, weights);
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

// The same list `shift` samples further on.
void MoveList(const ContributionList& from, std::int32_t shift, ContributionList& list) {
  for (std::int32_t t = 0; t < from.count; ++t)
    list.entries[t] = {from.entries[t].weight, from.entries[t].pixel + shift};
  list.count = from.count, list.weightSum = from.weightSum;
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

void ContributionTable::Build(const Filter& filter, const ResampleAxis& axis) {
  ListMemory known;
  const double radius = axis.Radius(filter);
  const std::int64_t capacity = axis.Capacity(filter);
  const std::int64_t bytes = ByteSize(capacity).Times(sizeof(Contribution)).Bytes();
  for (std::int32_t i = 0; i < axis.count; ++i) {
    ContributionList& list = lists_[i];
    list = {static_cast<Contribution*>(AllocateClearMemory(bytes)), 0, 0.0f};
    if (!list.entries) continue;
    const Window window(axis, radius, i);
    Window other;
    const std::int32_t like = known.Exchange(i, window, &other);
    const std::int32_t shift = like < 0 ? -1 : window.ShiftFrom(other);
    if (shift >= 0)
      MoveList(lists_[like], shift, list);
    else if (!FillList(filter, true, axis, window, capacity, list))
      FillList(filter, false, axis, window, capacity, list);
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
