#ifndef PIXMORPH_KERNELS_RESAMPLE_AVERAGES_H_
#define PIXMORPH_KERNELS_RESAMPLE_AVERAGES_H_

#include "kernels/resample_kernel.h"

// Both passes for lists of equal weights (a reduction by box at a whole ratio), in integers by the kernels of
// the area average. Slots hold one intermediate row of 32-bit words each, or where boxes lie side by side no
// more than where their rows are.
namespace pixmorph::kernels {

namespace {

// K: the level's kernels. kWidest: boxes that can't be averaged in tiles and are wider are left to others.
template <const AreaAverageKernels& K, std::int32_t kWidest>
class AveragePasses {
 public:
  static std::int64_t PlanBytes(const AxisWeights& row, const AxisWeights& column) {
    return ByteSize(SumCount(row))
        .Times(2)
        .Plus(ByteSize(row.count).Times(4).Bytes())
        .Plus(ByteSize(column.blockCount).Times(sizeof(AreaColumns)).Bytes())
        .Bytes();
  }

  static bool Plan(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
    if (!AllAverages(row) || !AllAverages(column) || !SameCounts(row) || row.blocks[0].count < 2)
      return false;
    const bool sideBySide = SideBySide(row);
    plan.scratchBytes = 0;
    plan.fetchesNextBatch = false;
    if (sideBySide && SameCounts(column) && SideBySide(column) &&
        K.canTile(row.blocks[0].count, column.blocks[0].count, row.count)) {
      PlanBoxes(row, column, plan);
      return true;
    }
    const bool tiles = sideBySide && K.canTile(row.blocks[0].count, 1, row.count);
    if (!tiles && row.blocks[0].count > kWidest) return false;
    PlanPasses(row, column, tiles, memory, plan);
    return true;
  }

 private:
  // Boxes side by side in both directions: a batch is a row of boxes, and its slot has but the addresses of
  // the batch's rows. A row of the result is made of them at once.
  static void PlanBoxes(const AxisWeights& row, const AxisWeights& column, FusedPlan& plan) {
    plan.averages.columns = Columns(nullptr, row.count, row.blocks[0].count, column.blocks[0].count);
    plan.averages.columns.rowMeans = true;
    plan.alongRows = KeepRows;
    plan.alongColumns = AverageBoxes;
    plan.batchRows = column.blocks[0].count;
    plan.slotBytes = kAddressBytes;
  }

  static void PlanPasses(const AxisWeights& row, const AxisWeights& column, bool tiles, void* memory,
                         FusedPlan& plan) {
    const std::int32_t box = row.blocks[0].count;
    AveragePlan& own = plan.averages;
    own.sums = static_cast<std::uint16_t*>(memory);
    auto* const blocks = reinterpret_cast<AreaColumns*>(own.sums + SumCount(row));
    auto* const starts = reinterpret_cast<std::int32_t*>(blocks + column.blockCount);
    for (std::int32_t i = 0; i < row.count; ++i) starts[i] = 4 * row.lists[i].first;
    for (std::int32_t b = 0; b < column.blockCount; ++b)
      blocks[b] = Columns(nullptr, row.count, 1, column.blocks[b].count);
    own.columns = Columns(starts, row.count, box, box);
    own.blocks = blocks;
    own.tiles = tiles;
    own.sourceBytes = 4 * row.sourceLength;
    own.column = column;
    plan.alongRows = AlongRows;
    plan.alongColumns = AlongColumns;
    plan.batchRows = 1;
    plan.slotBytes = (std::int64_t{row.count} * 4 + 63) / 64 * 64;
  }

  static constexpr std::int64_t kAddressBytes = 64;
  static_assert(kAreaRowsAtOnce * sizeof(void*) <= kAddressBytes && kAreaRowsAtOnce <= kMostBatchRows);

  static void KeepRows(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t*,
                       std::uint8_t* slot) {
    auto* const kept = reinterpret_cast<const std::uint8_t**>(slot);
    for (std::int32_t n = 0; n < plan.batchRows; ++n) kept[n] = rows[n];
  }

  static void AverageBoxes(const FusedPlan& plan, std::int32_t, const std::uint8_t* slots, std::uint8_t* out,
                           std::uint32_t top) {
    const AveragePlan& own = plan.averages;
    AreaColumns columns = own.columns;
    columns.top = top;
    const auto* const rows = reinterpret_cast<const std::uint8_t* const*>(slots);
    K.averageTiles(out, rows, plan.batchRows, columns);
  }

  static AreaColumns Columns(const std::int32_t* starts, std::int32_t count, std::int32_t boxWidth,
                             std::int32_t boxPixels) {
    return {starts, count, boxWidth, 4, boxPixels, 0, RoundingAreaDivisor(boxPixels), boxPixels / 2};
  }

  static std::int64_t SumCount(const AxisWeights& row) {
    const std::int32_t pixels = row.sourceLength > row.count ? row.sourceLength : row.count;
    return (std::int64_t{pixels} * 4 + kAreaSumPadding + 31) / 32 * 32;
  }

  static bool AllAverages(const AxisWeights& axis) {
    for (std::int32_t b = 0; b < axis.blockCount; ++b)
      if (axis.blocks[b].count > kLongestAverage || !axis.blocks[b].average) return false;
    return true;
  }

  static bool SameCounts(const AxisWeights& axis) {
    for (std::int32_t b = 1; b < axis.blockCount; ++b)
      if (axis.blocks[b].count != axis.blocks[0].count) return false;
    return true;
  }

  static bool SideBySide(const AxisWeights& axis) {
    for (std::int32_t i = 0; i < axis.count; ++i)
      if (axis.lists[i].first != i * axis.blocks[0].count) return false;
    return true;
  }

  static void AlongRows(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t*,
                        std::uint8_t* slot) {
    const AveragePlan& own = plan.averages;
    if (own.tiles) return K.averageTiles(slot, rows, 1, own.columns);
    K.addRows(own.sums, rows, 1, own.sourceBytes, true);
    K.averageSmall(slot, own.sums, own.columns);
  }

  static void AlongColumns(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots,
                           std::uint8_t* out, std::uint32_t top) {
    const AveragePlan& own = plan.averages;
    const std::int32_t block = own.column.lists[r].block, rowCount = own.column.blocks[block].count;
    const std::uint8_t* rows[kAreaRowsAtOnce];
    for (std::int32_t done = 0; done < rowCount; done += kAreaRowsAtOnce) {
      const std::int32_t left = rowCount - done, now = left < kAreaRowsAtOnce ? left : kAreaRowsAtOnce;
      for (std::int32_t n = 0; n < now; ++n, slots += plan.slotBytes) rows[n] = slots;
      K.addRows(own.sums, rows, now, 4 * own.columns.count, done == 0);
    }
    AreaColumns columns = own.blocks[block];
    columns.top = top;
    K.divideSums(out, own.sums, columns);
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_AVERAGES_H_
