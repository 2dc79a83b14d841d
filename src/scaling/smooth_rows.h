#ifndef PIXMORPH_SCALING_SMOOTH_ROWS_H_
#define PIXMORPH_SCALING_SMOOTH_ROWS_H_

#include <cstdint>

#include "kernels/levels.h"
#include "kernels/pack_kernel.h"
#include "kernels/smooth_enlarge_kernel.h"
#include "scaling/smooth_tables.h"
#include "scaling/source_pixels.h"
#include "scaling/work_slab.h"

namespace pixmorph {

// Makes whole rows of a smooth enlargement, all channels at once. Owns its memory; not `Ready` where that
// can't be had, and then of no use.
class SmoothRows {
 public:
  // `tables`, filled, must outlive this.
  SmoothRows(const SourcePixels& source, kernels::PixelLayout outLayout, const SmoothTables& tables,
             std::int32_t newWidth, std::int32_t newHeight, const kernels::KernelTable& table);

  bool Ready() const { return ready_; }
  // Writes row y of the result to `out`. Ascending y are cheapest.
  void MakeRow(std::uint8_t* out, std::int32_t y);

 private:
  bool PlanMemory();
  void FillColumns(std::int32_t* index, float* weight0, float* weight1, std::int32_t* exactMask);
  int Slot(std::int32_t sourceRow, std::int32_t besides);
  const float* WideLine(int slot, bool withTop);
  void Interpolate(std::uint8_t* bgrx, std::int32_t y);
  const std::uint8_t* Pixels(std::int32_t sourceRow, std::uint8_t* unpacked) const;
  void Double(std::uint8_t* bgrx, std::int32_t y);
  void InterpolateBlended(std::uint8_t* bgrx, int upper, int lower, const kernels::SmoothWeights& weights);
  void MixWide(std::uint8_t* bgrx, int upper, int lower, const kernels::SmoothWeights& weights);
  std::int32_t CommonTop(int upper, int lower) const {
    return lineTop_[upper] == lineTop_[lower] ? lineTop_[upper] : -1;
  }

  const SourcePixels source_;
  const kernels::PixelLayout outLayout_;
  const SmoothTables& tables_;
  const kernels::SmoothEnlargeKernels& kernels_;
  const kernels::PackKernels& pack_;
  const bool doubles_;  // exactly twice the size on both axes
  const bool spreads_;  // columns are interpolated before rows
  kernels::SmoothColumns columns_{};
  bool ready_ = false;
  WorkSlab slab_;
  float* lines_[2] = {};                // two source rows as lines
  std::int32_t lineOf_[2] = {-1, -1};   // which ones
  std::int32_t lineTop_[2] = {-1, -1};  // the top byte that all their pixels have, or -1
  float* wide_[2] = {};                 // the same lines with their columns interpolated
  enum class Wide : std::uint8_t { kNone, kColours, kAll } wideHolds_[2] = {};
  float* blended_ = nullptr;     // the line between them
  std::uint8_t* row_ = nullptr;  // one 32-bit row, of the source or of the result
};

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_SMOOTH_ROWS_H_
