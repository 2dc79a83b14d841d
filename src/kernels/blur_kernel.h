#ifndef PIXMORPH_KERNELS_BLUR_KERNEL_H_
#define PIXMORPH_KERNELS_BLUR_KERNEL_H_

#include <cstdint>

#include "kernels/pixel_layout.h"

// Box blur: averages over 2 * radius + 1 pixels down the columns, stored at 8 bits, and then along the rows.
// Both averages are truncated quotients of exact integer sums; edge pixels are repeated outwards.
namespace pixmorph::kernels {

// How a sum is divided by the box without a division, by the size of the box.
enum class BlurRange : std::uint8_t {
  kNarrow,  // up to 257: 16-bit sums; (sum + bias) * factor >> 16 + shift
  kWide,    // up to 26213: 32-bit sums, sum * inverse truncated; from then on 16-bit rests of the divisions
  kHuge,    // beyond: 32-bit sums; sum * factor >> 32 + shift
};

// What one blur has in common for all its rows. Made by `PlanBlur`.
struct BlurPlan {
  std::int32_t width;    // pixels in a row, 1 .. 32767
  std::int32_t radius;   // 1 .. 1048573
  std::int32_t box;      // 2 * radius + 1
  std::int32_t reach;    // pixels to look ahead and back: the radius, or what is as good for this width
  std::int32_t padding;  // copies of the edge pixel in front of and behind an intermediate row
  std::uint32_t top;     // top byte of the result's pixels: 0 or 0xFF000000
  BlurRange range;
  bool biased;     // 16-bit sums or rests are kept one too large for `factor`
  bool streaming;  // results go past the caches
  std::uint32_t factor;
  std::int32_t shift;  // 0 .. 20
  std::int32_t lift;   // kWide: boxes to add so that no step within a vector of pixels goes below 0
  float inverse;
};

// [pure]
BlurPlan PlanBlur(std::int32_t width, std::int32_t height, std::int32_t radius, std::uint32_t top);

// Bytes that the column sums take, aligned to 64. [pure]
std::int64_t BlurSumBytes(const BlurPlan& plan);
// Pixels, 4 bytes each, from one intermediate row to the next: padding, the row, padding, and the rest of the
// last vector. The row itself starts at pixel `BlurRowStart`. [pure]
std::int32_t BlurRowPixels(const BlurPlan& plan);
std::int32_t BlurRowStart(const BlurPlan& plan);

// Source rows around one step of the box down the columns.
struct BlurSourceRows {
  const std::uint8_t* entering;
  const std::uint8_t* leaving;
  const std::uint8_t* soonEntering;  // to be fetched into the caches: any addresses, never read
  const std::uint8_t* soonLeaving;
};

// The two passes over 32-bit rows, row by row; the top bytes of what is read never count. `sums` is memory of
// `BlurSumBytes`, laid out as the level likes. Source rows that change between entering
// and leaving the sums spoil colours, nothing else. [pure]
struct BlurKernels {
  // Sums of nothing.
  void (*startSums)(const BlurPlan& plan, void* sums);
  // Adds `times` copies of a source row to the column sums, 0 <= times <= box. Reads exactly `width` pixels.
  void (*addRow)(const BlurPlan& plan, void* sums, const std::uint8_t* row, std::int32_t times);
  // Writes the averages of the columns' sums to an intermediate row, once all rows around row 0 are added.
  void (*firstRow)(const BlurPlan& plan, std::uint8_t* to, void* sums);
  // Turns the averages of one row into those of the next one. Reads exactly `width` pixels of each source
  // row.
  void (*nextRow)(const BlurPlan& plan, std::uint8_t* to, void* sums, const BlurSourceRows& rows);
  // Averages along an intermediate row, around which it writes the padding. Writes exactly `width` pixels.
  void (*averageRow)(const BlurPlan& plan, std::uint8_t* to, std::uint8_t* from);
  // After the last row: what went past the caches is in memory before anything that is stored later.
  void (*finish)();
};

extern const BlurKernels kBlurScalar, kBlurSse2, kBlurSse41, kBlurAvx2, kBlurAvx512;

namespace ref {

// One running sum per column and colour.
struct ColumnSums {
  std::int32_t* red;
  std::int32_t* green;
  std::int32_t* blue;
};

// The two passes in their plainest form, in any layout.
void AddRow(const ColumnSums& sums, PixelLayout layout, const std::uint8_t* row, std::int32_t width,
            std::int32_t times);
void WriteAverages(const ColumnSums& sums, std::int32_t box, PixelLayout layout, std::uint8_t* to,
                   std::int32_t width);
// `leaving` goes out of the sums, `entering` comes in.
void MoveDown(const ColumnSums& sums, PixelLayout layout, const std::uint8_t* entering,
              const std::uint8_t* leaving, std::int32_t width);
// `to` and `from` have the same layout and don't overlap.
void AverageRow(PixelLayout layout, std::uint8_t* to, const std::uint8_t* from, std::int32_t width,
                std::int32_t radius);

// The entries of `kBlurScalar`.
void StartSums(const BlurPlan& plan, void* sums);
void AddPlannedRow(const BlurPlan& plan, void* sums, const std::uint8_t* row, std::int32_t times);
void FirstRow(const BlurPlan& plan, std::uint8_t* to, void* sums);
void NextRow(const BlurPlan& plan, std::uint8_t* to, void* sums, const BlurSourceRows& rows);
void Finish();
void AveragePlannedRow(const BlurPlan& plan, std::uint8_t* to, std::uint8_t* from);

}  // namespace ref

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_BLUR_KERNEL_H_
