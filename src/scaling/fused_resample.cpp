#include "scaling/fused_resample.h"

#include "kernels/pack_kernel.h"

namespace pixmorph {

namespace {

constexpr std::int64_t kLine = 64;

std::int64_t Lines(std::int64_t bytes) { return bytes < 0 ? -1 : (bytes + kLine - 1) / kLine * kLine; }

}  // namespace

std::uint8_t* ScratchMemory::Get(std::int64_t bytes) {
  FreeMemoryNow(block_);
  block_ = nullptr;
  const std::int64_t size = ByteSize(bytes).Plus(kLine).Bytes();
  if (size < 0) return nullptr;
  block_ = ReallocateMemory(nullptr, size);
  const auto start = reinterpret_cast<std::uintptr_t>(block_);
  return block_ ? reinterpret_cast<std::uint8_t*>((start + kLine - 1) / kLine * kLine) : nullptr;
}

bool FusedResample::KeepRowWeights(const ContributionList* lists, std::int32_t count,
                                   std::int32_t sourceWidth) {
  if (!kernels_.resample->plan) return false;
  std::uint8_t* const memory = rowMemory_.Get(kernels::WeightsBytes(lists, count));
  if (!memory) return false;
  rowWeights_ = kernels::GatherWeights(lists, count, sourceWidth, memory);
  return true;
}

bool FusedResample::Plan(const ContributionList* lists, std::int32_t count, std::int32_t sourceHeight) {
  std::uint8_t* const memory = columnMemory_.Get(kernels::WeightsBytes(lists, count));
  if (!memory) return false;
  columnWeights_ = kernels::GatherWeights(lists, count, sourceHeight, memory);
  std::uint8_t* const plan = planMemory_.Get(kernels_.resample->planBytes(rowWeights_, columnWeights_));
  if (!plan || !kernels_.resample->plan(rowWeights_, columnWeights_, plan, plan_)) return false;
  PlanMemory();
  return slots_ != nullptr;
}

// Room for twice the slots of the row that needs most, so that moving them back to the front is rare.
void FusedResample::PlanMemory() {
  std::int32_t most = 1;
  for (std::int32_t r = 0; r < columnWeights_.count; ++r) {
    const kernels::WeightList& list = columnWeights_.lists[r];
    const std::int32_t slots = Batch(LastRow(list)) - Batch(list.first) + 1;
    if (slots > most) most = slots;
  }
  const std::int32_t batches = Batch(columnWeights_.sourceLength - 1) + 1;
  capacity_ = most < batches / 2 ? 2 * most : batches;
  unpackedStride_ = Lines(std::int64_t{rowWeights_.sourceLength} * 4);
  const std::int64_t slots = ByteSize(plan_.slotBytes).Times(capacity_).Bytes();
  const std::int64_t unpacked = ByteSize(unpackedStride_).Times(plan_.batchRows).Bytes();
  const std::int64_t packing = Lines(std::int64_t{rowWeights_.count} * 4);
  slots_ = slotMemory_.Get(ByteSize(slots).Plus(plan_.scratchBytes).Plus(unpacked).Plus(packing).Bytes());
  if (!slots_) return;
  scratch_ = slots_ + slots;
  unpacked_ = scratch_ + plan_.scratchBytes;
  packing_ = unpacked_ + unpacked;
}

void FusedResample::MakeSlot(PictureReader& reader, std::int32_t batch) {
  const std::uint8_t* rows[2 * kernels::kMostBatchRows];
  const std::int32_t last = columnWeights_.sourceLength - 1;
  for (std::int32_t n = 0; n < 2 * plan_.batchRows; ++n) {
    const std::int64_t row = std::int64_t{batch} * plan_.batchRows + n;
    rows[n] = reader.GetRow(row < last ? static_cast<std::int32_t>(row) : last);
  }
  const auto unpack = plan_.fetchesNextBatch ? kernels_.pack->rgb24ToBgrx : kernels_.pack->rgb24ToBgrxAhead;
  for (std::int32_t n = 0; n < plan_.batchRows && reader.Layout() == kernels::PixelLayout::kRgb24; ++n) {
    std::uint8_t* const unpacked = unpacked_ + n * unpackedStride_;
    unpack(unpacked, rows[n], rowWeights_.sourceLength, 0);
    rows[n] = unpacked;
  }
  plan_.alongRows(plan_, rows, scratch_, slots_ + (batch - firstSlot_) * plan_.slotBytes);
}

const std::uint8_t* FusedResample::Slots(PictureReader& reader, std::int32_t firstBatch,
                                         std::int32_t lastBatch) {
  // Windows move downwards; where rounding makes one start before its predecessor, begin again there. The
  // same where nothing that was made is needed any more.
  if (firstBatch < firstSlot_ || firstBatch >= nextBatch_) firstSlot_ = nextBatch_ = firstBatch;
  for (; nextBatch_ <= lastBatch; ++nextBatch_) {
    if (nextBatch_ - firstSlot_ == capacity_) {
      MoveMemory(slots_, slots_ + (firstBatch - firstSlot_) * plan_.slotBytes,
                 static_cast<unsigned>((nextBatch_ - firstBatch) * plan_.slotBytes));
      firstSlot_ = firstBatch;
    }
    MakeSlot(reader, nextBatch_);
  }
  return slots_ + (firstBatch - firstSlot_) * plan_.slotBytes;
}

void FusedResample::WriteRow(PictureReader& reader, std::int32_t r, std::uint8_t* out,
                             kernels::PixelLayout layout) {
  const kernels::WeightList& list = columnWeights_.lists[r];
  const std::uint8_t* const slots = Slots(reader, Batch(list.first), Batch(LastRow(list)));
  if (layout != kernels::PixelLayout::kRgb24)
    return plan_.alongColumns(plan_, r, slots, out, TopByteMask(layout));
  plan_.pairStreams = false;  // what is packed at once had better stay in the caches
  plan_.alongColumns(plan_, r, slots, packing_, 0);
  kernels_.pack->bgrxToRgb24(out, packing_, rowWeights_.count);
}

}  // namespace pixmorph
