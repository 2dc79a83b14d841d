#ifndef PIXMORPH_KERNELS_AREA_AVERAGE_KERNEL_H_
#define PIXMORPH_KERNELS_AREA_AVERAGE_KERNEL_H_

#include <cstddef>
#include <cstdint>

#include "kernels/index_product.h"
#include "kernels/pixel_layout.h"
#include "kernels/pixel_rows.h"

// The area average: each new pixel is the truncated mean of a box of source pixels. Done in two steps, sums
// of the box's rows for every column first, then sums of columns; all sums are integers. Where the box is one
// pixel, pixels are repeated.
namespace pixmorph::kernels {

// Boxes along one axis. `box` source pixels from `Start(i)` on make new pixel i.
struct AreaAxis {
  std::int32_t sourceSize;  // 1 and above
  std::int32_t newSize;     // 1 and above
  std::int32_t box;         // source size / new size, rounded up
  IndexRatio ratio;

  // First source pixel of new pixel i; the box from there stays inside the source. [pure]
  PIXMORPH_INLINE_MEMBER std::int32_t Start(std::int32_t i) const {
    const std::int32_t start = ratio.Times(i);
    const std::int32_t last = sourceSize - box;
    return start < last ? start : last;
  }
};

// [pure]
PIXMORPH_INLINE AreaAxis MakeAreaAxis(std::int32_t sourceSize, std::int32_t newSize) {
  const double ratio = static_cast<double>(sourceSize) / newSize;
  const std::int32_t whole = TruncateToInt32(ratio);
  return {sourceSize, newSize, ratio > whole ? whole + 1 : whole, IndexRatio(ratio)};
}

// Column sums of at most this many rows fit 16 bits, and box sums of at most this many pixels.
constexpr std::int32_t kAreaRowsIn16Bits = 257;
// How many rows one call of `addRows` takes.
constexpr std::int32_t kAreaRowsAtOnce = 4;
// Elements by which rows of sums must be longer than their contents: vector loads run over the end.
constexpr std::int32_t kAreaSumPadding = 64;

// floor(s / pixels) for the sum s of a box of 1 .. kAreaRowsIn16Bits bytes: the upper 16 bits of
// (s + bias) × multiplier, shifted right. With P = 2^(16 + shift) and c the number of pixels, 2^15 <= P / c <
// 2^16: rounded up, m = (P + e) / c, and (qc + c − 1) m < (q + 1) P holds for q <= 254 as long as 255 e < m;
// rounded down with bias 1, m = (P − r) / c, and (qc + 1) m >= q P as long as 255 r <= m. e + r is c, so that
// the smaller one is at most 128, and 255 × 128 < 2^15 <= m: one of the two always serves. The bias never
// overflows, since 257 itself needs none (e is 1).
struct AreaDivisor {
  std::uint16_t bias, multiplier;
  std::int32_t shift;
};

// [pure]
PIXMORPH_INLINE AreaDivisor MakeAreaDivisor(std::int32_t pixels) {
  if (pixels == 1) return {1, 0xFFFF, 0};
  const auto c = static_cast<std::uint32_t>(pixels);
  const std::int32_t shift = 31 - __builtin_clz(c - 1);
  const std::uint32_t power = 1u << (16 + shift);
  const std::uint32_t rest = power % c;
  if (rest == 0 || 2 * rest > c) return {0, static_cast<std::uint16_t>((power + c - 1) / c), shift};
  return {1, static_cast<std::uint16_t>(power / c), shift};
}

// The same for averages that are rounded, halves up: floor((s + c / 2) / c), c up to 255. Here a quotient can
// be 255 with sums up to 255 c + c / 2: a multiplier rounded up gives (255 c + c / 2) m < 256 P as 255.5 e <
// P / 2, one rounded down gives (255 c + 1) m >= 255 P as 255 r <= m. [pure]
PIXMORPH_INLINE AreaDivisor RoundingAreaDivisor(std::int32_t pixels) {
  AreaDivisor divisor = MakeAreaDivisor(pixels);
  divisor.bias = static_cast<std::uint16_t>(divisor.bias + pixels / 2);
  return divisor;
}

// How one row of boxes is averaged.
struct AreaColumns {
  const std::int32_t* starts;  // first element (not pixel) of each box in the row of sums
  std::int32_t count;          // new pixels
  std::int32_t boxWidth;       // source pixels
  std::int32_t step;           // elements from one source pixel to the next: 4, or 3 (red, green, blue)
  std::int32_t boxPixels;      // box width × box height: what sums are divided by
  std::uint32_t top;           // the top byte of every new pixel: 0 or 0xFF000000
  AreaDivisor divisor;         // of boxPixels where that is at most kAreaRowsIn16Bits
  std::int32_t lift;           // added to box sums before they are divided; in the divisor's bias too
  // Of tiles: each row of a box counts with its rounded mean, and boxPixels is the number of rows.
  bool rowMeans = false;
};

// Rows of a result that become equal, anywhere.
struct EqualRows {
  std::uint8_t* const* rows;
  std::int32_t count;
};

// Any alignment of pixels; counts >= 0. Pixels are read and written exactly as counted, nothing beside them;
// sums may be read and written up to kAreaSumPadding elements behind their end. New pixels are 32-bit: blue
// in bits 0-7, top byte `top`. [pure]
struct AreaAverageKernels {
  // sums[i] = (first ? 0 : sums[i]) + the bytes i of 1 .. kAreaRowsAtOnce rows; the caller keeps the total of
  // rows at kAreaRowsIn16Bits or below.
  void (*addRows)(std::uint16_t* sums, const std::uint8_t* const* rows, std::int32_t rowCount,
                  std::int32_t byteCount, bool first);
  // The same, for rows that come from memory rather than from the caches.
  void (*addFarRows)(std::uint16_t* sums, const std::uint8_t* const* rows, std::int32_t rowCount,
                     std::int32_t byteCount, bool first);
  // totals[i] = (first ? 0 : totals[i]) + sums[i].
  void (*addSums)(std::uint32_t* totals, const std::uint16_t* sums, std::int32_t count, bool first);
  // New pixels from rows of sums: each channel trunc(box sum / boxPixels). The first form takes boxes of at
  // most kAreaRowsIn16Bits pixels; the second any box of 16-bit sums; the third one of 32-bit totals.
  void (*averageSmall)(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns);
  void (*averageLarge)(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns);
  void (*averageTotals)(std::uint8_t* out, const std::uint32_t* totals, const AreaColumns& columns);
  // The same for boxes one column wide that lie side by side, four sums a pixel; for the first form's boxes.
  void (*divideSums)(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns);
  // New pixels straight from 1 .. kAreaRowsAtOnce rows of 32-bit pixels, for boxes side by side (box i starts
  // at pixel i × boxWidth), where `canTile` says so for rows of `count` new pixels.
  bool (*canTile)(std::int32_t boxWidth, std::int32_t boxHeight, std::int32_t count);
  void (*averageTiles)(std::uint8_t* out, const std::uint8_t* const* rows, std::int32_t rowCount,
                       const AreaColumns& columns);
  // The same, for rows that come from memory.
  void (*averageFarTiles)(std::uint8_t* out, const std::uint8_t* const* rows, std::int32_t rowCount,
                          const AreaColumns& columns);
  // out[i] = 32-bit pixel starts[i] of `row`, with its top byte replaced by `top`. `starts` never falls and
  // rises by at most 1 from one entry to the next; the row has starts[count - 1] + 1 pixels.
  void (*repeatPixels)(std::uint8_t* out, const std::uint8_t* row, const std::int32_t* starts,
                       std::int32_t count, std::uint32_t top);
  // The same into several rows, past the caches, for results too large to stay in them. Other processors may
  // see what was written only after `finishCopies`. Null where copying a row is as fast.
  void (*repeatRows)(const EqualRows& out, const std::uint8_t* row, const std::int32_t* starts,
                     std::int32_t count, std::uint32_t top);
  // Copies a row past the caches, in the same way.
  void (*copyRow)(std::uint8_t* out, const std::uint8_t* row, std::int32_t byteCount);
  void (*finishCopies)();
};

extern const AreaAverageKernels kAreaAverageScalar, kAreaAverageSse2, kAreaAverageSse41, kAreaAverageAvx2,
    kAreaAverageAvx512;

namespace ref {
// One row of the result straight from the definition, any layouts, no tables: box sums in double from 0.5 on,
// divided and truncated. `y` is the row of the result.
void AreaAverageRow(std::uint8_t* out, PixelLayout outLayout, const PixelRows& source,
                    PixelLayout sourceLayout, const AreaAxis& across, const AreaAxis& down, std::int32_t y);

void AddRows(std::uint16_t* sums, const std::uint8_t* const* rows, std::int32_t rowCount,
             std::int32_t byteCount, bool first);
void AddSums(std::uint32_t* totals, const std::uint16_t* sums, std::int32_t count, bool first);
void AverageSums(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns);
void AverageTotals(std::uint8_t* out, const std::uint32_t* totals, const AreaColumns& columns);
void DivideSums(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns);
bool CanTile(std::int32_t boxWidth, std::int32_t boxHeight, std::int32_t count);
void AverageTiles(std::uint8_t* out, const std::uint8_t* const* rows, std::int32_t rowCount,
                  const AreaColumns& columns);
void RepeatPixels(std::uint8_t* out, const std::uint8_t* row, const std::int32_t* starts, std::int32_t count,
                  std::uint32_t top);
void RepeatRows(const EqualRows& out, const std::uint8_t* row, const std::int32_t* starts, std::int32_t count,
                std::uint32_t top);
void CopyRow(std::uint8_t* out, const std::uint8_t* row, std::int32_t byteCount);
void FinishCopies();
}  // namespace ref

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_AREA_AVERAGE_KERNEL_H_
