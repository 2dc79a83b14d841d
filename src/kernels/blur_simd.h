#ifndef PIXMORPH_KERNELS_BLUR_SIMD_H_
#define PIXMORPH_KERNELS_BLUR_SIMD_H_

#include "kernels/blur_columns.h"
#include "kernels/blur_rows.h"

// The table of one instruction set. Included by the files of the instruction sets only.
namespace pixmorph::kernels {
namespace {

// Sums are kept by one vector type; rows, which have no part in their layout, may be left to another one.
template <class ColumnsV, class V = ColumnsV>
struct BlurOver {
  static void StartSums(const BlurPlan& plan, void* sums) { kernels::StartSums<ColumnsV>(plan, sums); }
  static void AddRow(const BlurPlan& plan, void* sums, const std::uint8_t* row, std::int32_t times) {
    kernels::AddRow<ColumnsV>(plan, sums, row, times);
  }
  static void FirstRow(const BlurPlan& plan, std::uint8_t* to, void* sums) {
    kernels::FirstRow<ColumnsV>(plan, to, sums);
  }
  static void NextRow(const BlurPlan& plan, std::uint8_t* to, void* sums, const BlurSourceRows& rows) {
    kernels::NextRow<ColumnsV>(plan, to, sums, rows);
  }
  static void AverageRow(const BlurPlan& plan, std::uint8_t* to, std::uint8_t* from) {
    kernels::AverageRow<V>(plan, to, from);
  }
  static void Finish() { V::EndStreaming(); }
  static constexpr BlurKernels kTable = {StartSums, AddRow, FirstRow, NextRow, AverageRow, Finish};
};

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_BLUR_SIMD_H_
