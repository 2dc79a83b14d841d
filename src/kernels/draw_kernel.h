#ifndef PIXMORPH_KERNELS_DRAW_KERNEL_H_
#define PIXMORPH_KERNELS_DRAW_KERNEL_H_

#include <cstdint>

#include "kernels/pixel_layout.h"

// Drawing a source into a destination row at a fractional position. Every destination pixel mixes up to four
// source pixels by their weights; the weight that is left over keeps the destination's colour. Each product
// of a colour and a weight is truncated by itself. All weights are plain doubles: the result is what that
// arithmetic gives, operation by operation.
namespace pixmorph::kernels {

// The four source pixels around a destination pixel, in the order in which they take part.
enum DrawNeighbour { kUpperLeft, kUpperRight, kLowerRight, kLowerLeft, kDrawNeighbours };

struct MaskTables;

// What one drawing has in common for all its rows. The first part is the caller's; `FinishDrawPlan` adds the
// rest.
struct DrawPlan {
  PixelLayout destination, source, mask;
  bool masked;                      // the source has a mask
  std::int32_t destinationWidth;    // pixels, >= 1
  std::int32_t sourceWidth;         // pixels, >= 1
  std::int32_t maskWidth;           // pixels; positions beyond it hide nothing
  std::int32_t left;                // destination column of the source's column 0, whole part
  double weights[kDrawNeighbours];  // shares times opacity; any double at all

  MaskTables* maskTables;  // memory for them that outlives the drawing; null: go without

  // No weight can make a product leave 32 bits, be no number, or get lost in the smallest doubles.
  bool tame;
  // All weights are 0: nothing of the source shows.
  bool idle;
  // At full opacity on whole pixels, the source just replaces what is there where no mask hides any of it.
  bool copying;
  // Inside the source, and where no mask hides any of it, each truncated product of a colour and one of the
  // weights, or and what they leave of 1 (the last one), is colour * factor >> 16 + shift, for all 256
  // colours.
  bool quick;
  bool shifted;  // any of the shifts is not 0
  std::uint16_t factors[kDrawNeighbours + 1];
  std::int32_t shifts[kDrawNeighbours + 1];
  bool tabled;  // `maskTables` are filled
};

// `pixels` is the number of pixels to be drawn: factors and tables take a microsecond and a tenth of a
// millisecond, which small drawings are not worth.
void FinishDrawPlan(DrawPlan* plan, std::int64_t pixels);

// The rows that meet in one destination row.
struct DrawRows {
  std::uint8_t* destination;
  const std::uint8_t* upper;      // source row above, null: outside the source
  const std::uint8_t* lower;      // source row at the same height, null: outside the source
  const std::uint8_t* upperMask;  // mask row of `upper`, null: outside the mask
  const std::uint8_t* lowerMask;
};

struct DrawKernels {
  // Draws one row: exactly the destination's pixels are written, only pixels inside the rows are read. Rows
  // may be parts of each other: then the outcome is that of going from left to right pixel by pixel. [pure]
  void (*drawRow)(const DrawPlan& plan, const DrawRows& rows);
};

extern const DrawKernels kDrawScalar, kDrawSse2, kDrawSse41, kDrawAvx2, kDrawAvx512;

namespace ref {
void DrawRow(const DrawPlan& plan, const DrawRows& rows);
// The same for destination columns `begin` to `end` - 1 only.
void DrawColumns(const DrawPlan& plan, const DrawRows& rows, std::int32_t begin, std::int32_t end);
}  // namespace ref

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_KERNEL_H_
