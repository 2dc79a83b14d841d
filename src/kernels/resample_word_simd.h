#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_SIMD_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_SIMD_H_

#include "kernels/resample_word_columns.h"
#include "kernels/resample_word_rows.h"

// Both passes in products of 16-bit numbers, over a vector type V.
namespace pixmorph::kernels {

namespace {

template <class V>
struct WordPasses {
  static std::int64_t PlanBytes(const AxisWeights& row, const AxisWeights& column) {
    return ByteSize(WordsBytes(row)).Plus(WordsBytes(column)).Bytes();
  }

  static bool Plan(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
    auto* const columnMemory = static_cast<std::uint8_t*>(memory) + WordsBytes(row);
    if (!PackWords(row, WordGrades::kByFour, memory, plan.rowWords)) return false;
    if (!PackWords(column, WordGrades::kByList, columnMemory, plan.columnWords)) return false;
    using Rows = WordRows<V>;
    using Columns = WordColumns<V>;
    plan.alongRows = Rows::Make;
    plan.alongColumns = Columns::Make;
    plan.batchRows = kBatchRows;
    plan.slotBytes = WordSlots<V>::PlaneBytes(row.count) * kPlanes;
    const std::int64_t woven = kPairBytes * (std::int64_t{Rows::LongestStretch(plan.rowWords)} + 1);
    plan.fetchesNextBatch = true;
    plan.scratchBytes = (woven + 63) / 64 * 64;
    return true;
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_SIMD_H_
