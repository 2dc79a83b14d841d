#ifndef PIXMORPH_SCALING_SMOOTH_TABLES_H_
#define PIXMORPH_SCALING_SMOOTH_TABLES_H_

#include <cstdint>

#include "kernels/smooth_enlarge_kernel.h"
#include "support/owned.h"

namespace pixmorph {

// The work arrays of a smooth enlargement: where each new column and row lies in the source, how much its
// neighbours count, and one channel of one row.
class SmoothTables {
 public:
  // Nothing may be read before `Allocate` has given true.
  SmoothTables(std::int32_t sourceWidth, std::int32_t sourceHeight, std::int32_t newWidth,
               std::int32_t newHeight);

  // Allocates all arrays, zero-filled. False when one of them can't be had.
  [[nodiscard]] bool Allocate();
  void Free();
  void FillIndexes();
  void FillColumnWeights();
  void FillRowWeights();

  const std::int32_t* ColumnIndex() const { return columnIndex_.Get(); }
  std::int32_t RowIndex(std::int32_t y) const { return rowIndex_[y]; }
  const kernels::SmoothWeights* ColumnWeights() const { return columnWeights_.Get(); }
  const kernels::SmoothWeights& RowWeights(std::int32_t y) const { return rowWeights_[y]; }
  // Weights repeat after so many new columns or rows, which lie at multiples of 1 / period between samples.
  std::int32_t ColumnPeriod() const { return columnPeriod_; }
  std::int32_t RowPeriod() const { return rowPeriod_; }
  // One entry per source column.
  float* RowBuffer() const { return rowBuffer_.Get(); }

 private:
  std::int32_t sourceWidth_, sourceHeight_, newWidth_, newHeight_;
  std::int32_t columnPeriod_ = 0, rowPeriod_ = 0;
  WorkBuffer<std::int32_t> columnIndex_;
  WorkBuffer<std::int32_t> rowIndex_;
  WorkBuffer<kernels::SmoothWeights> columnWeights_;
  WorkBuffer<kernels::SmoothWeights> rowWeights_;
  WorkBuffer<float> rowBuffer_;
};

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_SMOOTH_TABLES_H_
