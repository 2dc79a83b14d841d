#ifndef PIXMORPH_SCALING_FUSED_RESAMPLE_H_
#define PIXMORPH_SCALING_FUSED_RESAMPLE_H_

#include <cstdint>

#include "kernels/levels.h"
#include "kernels/resample_kernel.h"
#include "picture/editor.h"
#include "support/memory.h"
#include "support/numeric.h"

namespace pixmorph {

// Memory that only makes things faster: not zero-filled, and a failure to get it has no effect on any
// outcome.
class ScratchMemory {
 public:
  ScratchMemory() = default;
  ScratchMemory(const ScratchMemory&) = delete;
  ScratchMemory& operator=(const ScratchMemory&) = delete;
  ~ScratchMemory() { FreeMemoryNow(block_); }

  // `bytes` bytes aligned to a cache line, valid until the next call. Null when they can't be had.
  std::uint8_t* Get(std::int64_t bytes);

 private:
  void* block_ = nullptr;
};

// Both passes of a filtered resize woven into one: output rows are asked for in order, and source rows go
// through the horizontal pass when the first output row needs them. The intermediate rows of a few output
// rows stay in the cache, so the intermediate image as a whole is never touched.
class FusedResample {
 public:
  // Keeps the weights of the rows' pass; they may be released afterwards. False: only the plain passes will
  // do.
  bool KeepRowWeights(const ContributionList* lists, std::int32_t count, std::int32_t sourceWidth);

  // Plans the resize. False: only the plain passes will do.
  bool Plan(const ContributionList* lists, std::int32_t count, std::int32_t sourceHeight);

  // The weights kept for the rows' pass.
  const kernels::AxisWeights& RowWeights() const { return rowWeights_; }

  // Writes row r of the result, reading rows of `reader`. Others may look at it only after `FinishRows`.
  void WriteRow(PictureReader& reader, std::int32_t r, std::uint8_t* out, kernels::PixelLayout layout);
  void FinishRows() const {
    if (plan_.finishRows) plan_.finishRows();
  }

 private:
  std::int32_t Batch(std::int32_t row) const { return row / plan_.batchRows; }
  std::int32_t LastRow(const kernels::WeightList& list) const {
    return list.first + columnWeights_.blocks[list.block].count - 1;
  }
  void PlanMemory();
  const std::uint8_t* Slots(PictureReader& reader, std::int32_t firstBatch, std::int32_t lastBatch);
  void MakeSlot(PictureReader& reader, std::int32_t batch);

  const kernels::KernelTable& kernels_ = kernels::Kernels();
  ScratchMemory rowMemory_, columnMemory_, planMemory_, slotMemory_;
  kernels::AxisWeights rowWeights_{}, columnWeights_{};
  kernels::FusedPlan plan_{};
  std::uint8_t* slots_ = nullptr;     // `capacity_` slots: batches firstSlot_ .. nextBatch_ - 1
  std::uint8_t* scratch_ = nullptr;   // the plan's
  std::uint8_t* unpacked_ = nullptr;  // one batch of source rows as 32-bit pixels
  std::uint8_t* packing_ = nullptr;   // one output row as 32-bit pixels
  std::int64_t unpackedStride_ = 0;   // bytes
  std::int32_t capacity_ = 0;
  std::int32_t firstSlot_ = 0;
  std::int32_t nextBatch_ = 0;
};

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_FUSED_RESAMPLE_H_
