#include "kernels/area_average_kernel.h"

namespace pixmorph::kernels {
namespace ref {

void AreaAverageRow(std::uint8_t* out, PixelLayout outLayout, const PixelRows& source,
                    PixelLayout sourceLayout, const AreaAxis& across, const AreaAxis& down, std::int32_t y) {
  const double count = static_cast<double>(across.box) * down.box;
  const std::int32_t pixelBytes = BytesPerPixel(sourceLayout);
  const std::int32_t y0 = down.Start(y);
  for (std::int32_t x = 0; x < across.newSize; ++x) {
    const std::int32_t x0 = across.Start(x);
    double red = 0.5, green = 0.5, blue = 0.5;
    for (std::int32_t yy = y0; yy < y0 + down.box; ++yy) {
      const std::uint8_t* p = source.Row(yy) + x0 * pixelBytes;
      for (std::int32_t i = 0; i < across.box; ++i, p += pixelBytes) {
        const Rgb pixel = LoadPixel(sourceLayout, p);
        red += pixel.red;
        green += pixel.green;
        blue += pixel.blue;
      }
    }
    StorePixel(outLayout, out,
               {ClampToByte(TruncateToInt32(red / count)), ClampToByte(TruncateToInt32(green / count)),
                ClampToByte(TruncateToInt32(blue / count))});
    out += BytesPerPixel(outLayout);
  }
}

void AddRows(std::uint16_t* sums, const std::uint8_t* const* rows, std::int32_t rowCount,
             std::int32_t byteCount, bool first) {
  for (std::int32_t i = 0; i < byteCount; ++i) {
    int sum = first ? 0 : sums[i];
    for (std::int32_t r = 0; r < rowCount; ++r) sum += rows[r][i];
    sums[i] = static_cast<std::uint16_t>(sum);
  }
}

void AddSums(std::uint32_t* totals, const std::uint16_t* sums, std::int32_t count, bool first) {
  for (std::int32_t i = 0; i < count; ++i) totals[i] = (first ? 0 : totals[i]) + sums[i];
}

namespace {

template <class Sum>
std::uint8_t BoxAverage(const Sum* sums, const AreaColumns& columns) {
  std::uint64_t sum = static_cast<std::uint32_t>(columns.lift);
  for (std::int32_t i = 0; i < columns.boxWidth; ++i) sum += sums[i * columns.step];
  return static_cast<std::uint8_t>(sum / static_cast<std::uint32_t>(columns.boxPixels));
}

// (0.5 + s) / n truncated is s / n in integers: the remainder of s is at most n - 1.
template <class Sum>
void Average(std::uint8_t* out, const Sum* sums, const AreaColumns& columns) {
  const std::int32_t red = columns.step == 3 ? 0 : 2;
  for (std::int32_t x = 0; x < columns.count; ++x, out += 4) {
    const Sum* box = sums + columns.starts[x];
    Bgrx0::Store(out, {BoxAverage(box + red, columns), BoxAverage(box + 1, columns),
                       BoxAverage(box + 2 - red, columns)});
    out[3] = static_cast<std::uint8_t>(columns.top >> 24);
  }
}

}  // namespace

void AverageSums(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns) {
  Average(out, sums, columns);
}

void AverageTotals(std::uint8_t* out, const std::uint32_t* totals, const AreaColumns& columns) {
  Average(out, totals, columns);
}

void DivideSums(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns) {
  for (std::int32_t x = 0; x < 4 * columns.count; x += 4) {
    for (std::int32_t channel = 0; channel < 3; ++channel)
      out[x + channel] = static_cast<std::uint8_t>((sums[x + channel] + columns.lift) / columns.boxPixels);
    out[x + 3] = static_cast<std::uint8_t>(columns.top >> 24);
  }
}

bool CanTile(std::int32_t boxWidth, std::int32_t boxHeight, std::int32_t) {
  return boxWidth <= kAreaRowsAtOnce && boxHeight <= kAreaRowsAtOnce;
}

void AverageTiles(std::uint8_t* out, const std::uint8_t* const* rows, std::int32_t rowCount,
                  const AreaColumns& columns) {
  for (std::int32_t x = 0; x < columns.count * 4; x += 4) {
    for (std::int32_t channel = 0; channel < 3; ++channel) {
      std::int32_t sum = columns.lift;
      for (std::int32_t r = 0; r < rowCount; ++r) {
        std::int32_t row = 0;
        for (std::int32_t i = 0; i < columns.boxWidth; ++i)
          row += rows[r][x * columns.boxWidth + i * 4 + channel];
        sum += columns.rowMeans ? (row + columns.boxWidth / 2) / columns.boxWidth : row;
      }
      out[x + channel] = static_cast<std::uint8_t>(sum / columns.boxPixels);
    }
    out[x + 3] = static_cast<std::uint8_t>(columns.top >> 24);
  }
}

void RepeatPixels(std::uint8_t* out, const std::uint8_t* row, const std::int32_t* starts, std::int32_t count,
                  std::uint32_t top) {
  for (std::int32_t x = 0; x < count; ++x, out += 4) {
    Bgrx0::Store(out, Bgrx0::Load(row + starts[x] * 4));
    out[3] = static_cast<std::uint8_t>(top >> 24);
  }
}

void RepeatRows(const EqualRows& out, const std::uint8_t* row, const std::int32_t* starts, std::int32_t count,
                std::uint32_t top) {
  for (std::int32_t n = 0; n < out.count; ++n) RepeatPixels(out.rows[n], row, starts, count, top);
}

void CopyRow(std::uint8_t* out, const std::uint8_t* row, std::int32_t byteCount) {
  __builtin_memcpy(out, row, static_cast<std::uint32_t>(byteCount));
}

void FinishCopies() {}

}  // namespace ref

const AreaAverageKernels kAreaAverageScalar = {
    ref::AddRows,       ref::AddRows,    ref::AddSums, ref::AverageSums,  ref::AverageSums,
    ref::AverageTotals, ref::DivideSums, ref::CanTile, ref::AverageTiles, ref::AverageTiles,
    ref::RepeatPixels,  nullptr,         ref::CopyRow, ref::FinishCopies};

}  // namespace pixmorph::kernels
