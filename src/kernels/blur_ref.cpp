#include "kernels/blur_kernel.h"

namespace pixmorph::kernels {
namespace ref {
namespace {

struct Sums {
  std::int32_t red = 0, green = 0, blue = 0;
  void Add(Rgb c, std::int32_t times) {
    red += c.red * times;
    green += c.green * times;
    blue += c.blue * times;
  }
};

// A source that was painted on meanwhile can drive a sum out of 0 .. 255 * box.
Rgb Average(const Sums& sums, std::int32_t box) {
  return {ClampToByte(sums.red / box), ClampToByte(sums.green / box), ClampToByte(sums.blue / box)};
}

}  // namespace

void AddRow(const ColumnSums& sums, PixelLayout layout, const std::uint8_t* row, std::int32_t width,
            std::int32_t times) {
  for (std::int32_t x = 0; x < width; ++x, row += BytesPerPixel(layout)) {
    const Rgb c = LoadPixel(layout, row);
    sums.red[x] += c.red * times;
    sums.green[x] += c.green * times;
    sums.blue[x] += c.blue * times;
  }
}

void WriteAverages(const ColumnSums& sums, std::int32_t box, PixelLayout layout, std::uint8_t* to,
                   std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x, to += BytesPerPixel(layout))
    StorePixel(layout, to, Average({sums.red[x], sums.green[x], sums.blue[x]}, box));
}

void MoveDown(const ColumnSums& sums, PixelLayout layout, const std::uint8_t* entering,
              const std::uint8_t* leaving, std::int32_t width) {
  AddRow(sums, layout, leaving, width, -1);
  AddRow(sums, layout, entering, width, 1);
}

void AverageRow(PixelLayout layout, std::uint8_t* to, const std::uint8_t* from, std::int32_t width,
                std::int32_t radius) {
  const std::int32_t last = width - 1;
  const auto at = [=](std::int32_t x) { return LoadPixel(layout, from + x * BytesPerPixel(layout)); };
  Sums sums;
  // Positions beyond an edge are counted, not walked: the radius may be far larger than the row.
  const std::int32_t inside = radius < last ? radius : last;
  sums.Add(at(0), radius + 1);
  for (std::int32_t x = 1; x <= inside; ++x) sums.Add(at(x), 1);
  sums.Add(at(last), radius - inside);
  for (std::int32_t x = 0; x < width; ++x, to += BytesPerPixel(layout)) {
    StorePixel(layout, to, Average(sums, 2 * radius + 1));
    sums.Add(at(x < last - radius ? x + radius + 1 : last), 1);
    sums.Add(at(x > radius ? x - radius : 0), -1);
  }
}

namespace {

ColumnSums Planes(const BlurPlan& plan, void* sums) {
  std::int32_t* first = static_cast<std::int32_t*>(sums);
  return {first, first + plan.width, first + 2 * plan.width};
}

}  // namespace

void StartSums(const BlurPlan& plan, void* sums) {
  const ColumnSums planes = Planes(plan, sums);
  for (std::int32_t x = 0; x < plan.width; ++x) planes.red[x] = planes.green[x] = planes.blue[x] = 0;
}

void AddPlannedRow(const BlurPlan& plan, void* sums, const std::uint8_t* row, std::int32_t times) {
  AddRow(Planes(plan, sums), PixelLayout::kBgrx0, row, plan.width, times);
}

void FirstRow(const BlurPlan& plan, std::uint8_t* to, void* sums) {
  WriteAverages(Planes(plan, sums), plan.box, PixelLayout::kBgrx0, to, plan.width);
}

void NextRow(const BlurPlan& plan, std::uint8_t* to, void* sums, const BlurSourceRows& rows) {
  MoveDown(Planes(plan, sums), PixelLayout::kBgrx0, rows.entering, rows.leaving, plan.width);
  FirstRow(plan, to, sums);
}

void Finish() {}

void AveragePlannedRow(const BlurPlan& plan, std::uint8_t* to, std::uint8_t* from) {
  AverageRow(plan.top ? PixelLayout::kBgrxF : PixelLayout::kBgrx0, to, from, plan.width, plan.radius);
}

}  // namespace ref

const BlurKernels kBlurScalar = {ref::StartSums, ref::AddPlannedRow,     ref::FirstRow,
                                 ref::NextRow,   ref::AveragePlannedRow, ref::Finish};

}  // namespace pixmorph::kernels
