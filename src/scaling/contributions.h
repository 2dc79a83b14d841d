#ifndef PIXMORPH_SCALING_CONTRIBUTIONS_H_
#define PIXMORPH_SCALING_CONTRIBUTIONS_H_

#include <cstdint>

#include "kernels/contribution.h"
#include "scaling/filters.h"
#include "scaling/phase_weights.h"
#include "support/owned.h"

namespace pixmorph {

// One axis of a filtered resize.
struct ResampleAxis {
  double scale;               // destination length / source length; below 1 the axis shrinks
  std::int32_t sourceLength;  // samples
  std::int32_t count;         // lists: destination length
  bool horizontal;            // the two directions give their lists different room

  // Half-width of the window in which taps are looked for, in source samples. [pure]
  double Radius(const Filter& filter) const { return scale < 1.0 ? filter.support / scale : filter.support; }

  // Room of one list, in taps. [pure]
  std::int64_t Capacity(const Filter& filter) const;
};

// Owns a table of contribution lists and the lists' entries.
class ContributionTable {
 public:
  ContributionTable() = default;
  ContributionTable(const ContributionTable&) = delete;
  ContributionTable& operator=(const ContributionTable&) = delete;
  ~ContributionTable() { Release(); }

  // Room for `count` lists without entries; what the table held before is released first. False: none.
  [[nodiscard]] bool Allocate(std::int32_t count);

  // Fills the first `axis.count` lists, which have no entries yet. A list whose entries can't be allocated
  // stays empty. The table has room for them. `phases` is working memory, whose weights serve a next axis.
  void Build(const Filter& filter, const ResampleAxis& axis, PhaseWeights& phases);

  // Releases every list's entries; the table itself stays.
  void FreeEntries();

  void Release();

  const ContributionList* Lists() const { return lists_.Get(); }

 private:
  WorkBuffer<ContributionList> lists_;
  std::int32_t count_ = 0;  // lists that have room in the table
};

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_CONTRIBUTIONS_H_
