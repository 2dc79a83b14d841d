#include "scaling/contributions.h"

#include <string.h>

#include <cstdint>

#include "support/numeric.h"

namespace pixmorph {

namespace {

// Remembers filter values by their exact argument. Distances repeat with the ratio's period, and a filter
// made of two sines costs far more than the look-up.
class FilterMemory {
 public:
  // `count` lists will ask: for a few the whole memory would take longer to clear than it saves.
  FilterMemory(const Filter& filter, std::int32_t count) : weight_(filter.weight) {
    while (slotBits_ < kMostSlotBits && count > (1 << slotBits_) / 4) ++slotBits_;
    // Arguments are never negative, so no slot matches before it is filled.
    for (std::uint32_t n = 0; n < 1u << slotBits_; ++n) slots_[n].argument = -1.0;
  }

  double Weight(double t) {
    Slot& slot = slots_[SlotOf(t)];
    if (slot.argument != t) slot = {t, weight_(t)};
    return slot.weight;
  }

 private:
  struct Slot {
    double argument;
    double weight;
  };
  static constexpr int kLeastSlotBits = 6, kMostSlotBits = 10;

  std::uint32_t SlotOf(double t) const {
    std::uint64_t bits;
    memcpy(&bits, &t, sizeof bits);
    const auto folded =
        static_cast<std::uint32_t>(bits) * 0x85EBCA6Bu + static_cast<std::uint32_t>(bits >> 32);
    return (folded * 0x9E3779B1u) >> (32 - slotBits_);
  }

  double (*weight_)(double);
  int slotBits_ = kLeastSlotBits;
  Slot slots_[1 << kMostSlotBits];
};

// The taps of the list whose centre is `centre`, into its `capacity` entries.
void FillList(FilterMemory& filter, const ResampleAxis& axis, double radius, double centre,
              std::int64_t capacity, ContributionList& list) {
  // 32 bits hold every column, and what lies beyond them is beyond the row too.
  std::int32_t first = TruncateToInt32(centre - radius);
  std::int32_t last = TruncateToInt32(centre + radius);
  if (first < 0) first = 0;
  if (last > axis.sourceLength - 1) last = axis.sourceLength - 1;
  double sum = 0.0;
  for (std::int32_t j = first; j <= last; ++j) {
    const double distance = centre - j - 0.5;
    const double x = axis.scale < 1.0 ? distance * axis.scale : distance;
    const double weight = filter.Weight(x < 0.0 ? -x : x);
    if (weight == 0.0) continue;
    // The room is enough for exact arithmetic; a rounding at the window's very end must not pass it.
    if (list.count == capacity) break;
    list.entries[list.count++] = {static_cast<float>(weight), j};
    sum += weight;
  }
  list.weightSum = static_cast<float>(sum);
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
  FilterMemory memory(filter, axis.count);
  const double radius = axis.Radius(filter);
  const std::int64_t capacity = axis.Capacity(filter);
  const std::int64_t bytes = ByteSize(capacity).Times(sizeof(Contribution)).Bytes();
  for (std::int32_t i = 0; i < axis.count; ++i) {
    ContributionList& list = lists_[i];
    list = {static_cast<Contribution*>(AllocateClearMemory(bytes)), 0, 0.0f};
    if (list.entries) FillList(memory, axis, radius, (i + 0.5) / axis.scale, capacity, list);
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
