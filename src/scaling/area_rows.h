#ifndef PIXMORPH_SCALING_AREA_ROWS_H_
#define PIXMORPH_SCALING_AREA_ROWS_H_

#include <cstdint>

#include "kernels/area_average_kernel.h"
#include "kernels/levels.h"
#include "kernels/pack_kernel.h"
#include "scaling/source_pixels.h"
#include "scaling/work_slab.h"

namespace pixmorph {

// Makes the rows of an area average one by one. Owns its tables and row buffers; where memory for them can't
// be had it does without, slower and with the same result.
class AreaRows {
 public:
  // The new sides are 1 and above.
  AreaRows(const SourcePixels& source, kernels::PixelLayout outLayout, std::int32_t newWidth,
           std::int32_t newHeight, const kernels::KernelTable& table);

  ~AreaRows() {
    if (streams_) kernels_.finishCopies();
  }
  AreaRows(const AreaRows&) = delete;
  AreaRows& operator=(const AreaRows&) = delete;

  // How many rows from y on are the same and cost less when they are made at once: 1 .. kMostAtOnce.
  std::int32_t AtOnce(std::int32_t y) const;
  // Writes as many rows of the result, from y on, to `out[0]` and so on. Any rows may come next; the source
  // may have changed since the last ones.
  void MakeRows(std::uint8_t* const* out, std::int32_t count, std::int32_t y);

  // So that yields are never far away, and the processor can hold lines of all of them.
  static constexpr std::int32_t kMostAtOnce = 8;

 private:
  bool PlanMemory();
  void PlanColumns();
  void MakeRow(std::uint8_t* out, std::int32_t y);
  void MakeRowFrom(std::uint8_t* out, std::int32_t y0);
  void MakeBgrx(std::uint8_t* bgrx, std::int32_t y0);
  const std::uint8_t* SourceRow(std::int32_t y0);
  void AverageBoxes(std::uint8_t* bgrx, std::int32_t y0);
  void SumRows(std::int32_t y0, std::int32_t rowCount);
  void SumTotals(std::int32_t y0);

  const SourcePixels source_;
  const kernels::PixelLayout outLayout_;
  const kernels::AreaAverageKernels& kernels_;
  const kernels::PackKernels& pack_;
  const kernels::AreaAxis across_;
  const kernels::AreaAxis down_;
  const std::int32_t step_;  // elements of a row of sums from one source pixel to the next
  const bool repeats_;       // boxes of one pixel
  const bool packs_;         // the result has three bytes a pixel
  const bool keepsRow_;      // several rows of the result are equal: `row_` holds the last one made
  const bool streams_;       // the result is too large to stay in the caches
  const bool far_;           // the source is too large to be in the caches
  const bool totals32_;      // a column sum of a box does not fit 16 bits
  const bool together_;      // rows are repeated without a copy in `row_`
  const bool tiles_;         // boxes lie side by side and are small enough to be averaged without sums
  kernels::AreaColumns columns_{};
  std::int32_t keptFrom_ = -1;  // first source row of what `row_` holds
  bool ready_ = false;          // the memory below was had
  WorkSlab slab_;
  std::int32_t* starts_ = nullptr;     // first element of each new pixel's box in a row of sums
  std::uint16_t* sums_ = nullptr;      // column sums
  std::uint32_t* totals_ = nullptr;    // the same in 32 bits
  std::uint8_t* row_ = nullptr;        // one row of the result
  std::uint8_t* bgrxRow_ = nullptr;    // the same as 32-bit pixels, to be packed
  std::uint8_t* sourceRow_ = nullptr;  // one 24-bit source row as 32-bit pixels
};

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_AREA_ROWS_H_
