#include "standin/faults.h"

#include <cstring>
#include <new>

#include "standin/internal/heap.h"
#include "standin/internal/state.h"

namespace standin {
namespace {

Faults ordered;
FaultCounts counts;
int shrinkable = 0;

bool Strikes(int& counter, int at) {
  ++counter;
  if (at <= 0 || (ordered.persistent ? counter < at : counter != at)) return false;
  ++counts.struck;
  return true;
}

}  // namespace

void SetFaults(const Faults& faults) {
  ordered = faults;
  counts = {};
  shrinkable = 0;
}

void ClearFaults() { SetFaults({}); }
const FaultCounts& CountedForFaults() { return counts; }
const Faults& OrderedFaults() { return ordered; }

bool StrikesLock() { return Strikes(counts.locks, ordered.lock); }
bool StrikesPicture() { return Strikes(counts.pictures, ordered.picture); }
bool StrikesShrink() { return Strikes(shrinkable, ordered.shrinkPicture); }
bool StrikesInstance() { return Strikes(counts.instances, ordered.instance); }
bool StrikesAllocation() { return Strikes(counts.allocations, ordered.allocation); }

void ThrowIfOrdered(const char* service) {
  if (ordered.throwAt <= 0 || ordered.throwingService != service) return;
  if (!Strikes(counts.throwing, ordered.throwAt)) return;
  if (ordered.thrown == Thrown::kBadAlloc) throw std::bad_alloc();
  throw ServiceException();
}

}  // namespace standin
