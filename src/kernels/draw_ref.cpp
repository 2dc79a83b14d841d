#include "kernels/draw_kernel.h"

namespace pixmorph::kernels {
namespace ref {
namespace {

struct Pixel {
  // 64 bits: a huge opacity saturates each product at 32 bits, and five of them may add up.
  std::int64_t red = 0, green = 0, blue = 0;
  double rest = 1.0;

  void Add(Rgb c, double weight) {
    red += TruncateToInt32(c.red * weight);
    green += TruncateToInt32(c.green * weight);
    blue += TruncateToInt32(c.blue * weight);
  }
};

void AddNeighbour(const DrawPlan& plan, Pixel* pixel, const std::uint8_t* row, const std::uint8_t* maskRow,
                  std::int64_t column, double weight) {
  if (!row || column < 0 || column >= plan.sourceWidth) return;
  if (plan.masked) {
    const bool covered = maskRow && column < plan.maskWidth;
    const int hidden = covered ? LoadPixel(plan.mask, maskRow + column * BytesPerPixel(plan.mask)).red : 0;
    weight = (255 - hidden) * weight / 255;
  }
  pixel->Add(LoadPixel(plan.source, row + column * BytesPerPixel(plan.source)), weight);
  pixel->rest -= weight;
}

}  // namespace

void DrawColumns(const DrawPlan& plan, const DrawRows& rows, std::int32_t begin, std::int32_t end) {
  for (std::int32_t x = begin; x < end; ++x) {
    std::uint8_t* to = rows.destination + x * BytesPerPixel(plan.destination);
    const std::int64_t column = static_cast<std::int64_t>(x) - plan.left;
    Pixel pixel;
    AddNeighbour(plan, &pixel, rows.upper, rows.upperMask, column - 1, plan.weights[kUpperLeft]);
    AddNeighbour(plan, &pixel, rows.upper, rows.upperMask, column, plan.weights[kUpperRight]);
    AddNeighbour(plan, &pixel, rows.lower, rows.lowerMask, column, plan.weights[kLowerRight]);
    AddNeighbour(plan, &pixel, rows.lower, rows.lowerMask, column - 1, plan.weights[kLowerLeft]);
    if (pixel.rest > 0) pixel.Add(LoadPixel(plan.destination, to), pixel.rest);
    StorePixel(plan.destination, to,
               {ClampToByte(pixel.red), ClampToByte(pixel.green), ClampToByte(pixel.blue)});
  }
}

void DrawRow(const DrawPlan& plan, const DrawRows& rows) {
  DrawColumns(plan, rows, 0, plan.destinationWidth);
}

}  // namespace ref

const DrawKernels kDrawScalar = {ref::DrawRow};

}  // namespace pixmorph::kernels
