#include "effects/blur_passes.h"

#include <string.h>

#include "kernels/blur_kernel.h"
#include "kernels/levels.h"
#include "kernels/pack_kernel.h"
#include "support/numeric.h"

namespace pixmorph {
namespace {

std::int32_t ClampRow(std::int32_t row, std::int32_t height) {
  return row < 0 ? 0 : row < height ? row : height - 1;
}

// The passes as they are defined, in the buffers that are there anyway: for want of memory for anything
// faster.
class PlainBlur {
 public:
  PlainBlur(PictureReader& reader, PictureWriter& writer, const BlurBuffers& buffers, std::int32_t radius)
      : reader_(reader),
        writer_(writer),
        sums_{buffers.red.Get(), buffers.green.Get(), buffers.blue.Get()},
        rowCopy_(buffers.rowCopy.Get()),
        radius_(radius) {}

  void Run(YieldData& yieldData) {
    PrimeColumns();
    for (std::int32_t y = 0; y < reader_.height; ++y) {
      AverageColumns(y);
      yieldData.YieldPoint();
    }
    for (std::int32_t y = 0; y < reader_.height; ++y) {
      std::uint8_t* row = writer_.GetRow(y);
      memcpy(rowCopy_, row,
             static_cast<std::size_t>(reader_.width) * static_cast<std::size_t>(writer_.pixelSize));
      kernels::ref::AverageRow(writer_.Layout(), row, rowCopy_, reader_.width, radius_);
      yieldData.YieldPoint();
    }
  }

 private:
  std::uint8_t* SourceRow(std::int32_t y) { return reader_.GetRow(ClampRow(y, reader_.height)); }

  void Add(std::int32_t y, std::int32_t times) {
    kernels::ref::AddRow(sums_, reader_.Layout(), SourceRow(y), reader_.width, times);
  }

  void PrimeColumns() {
    const std::int32_t last = reader_.height - 1;
    const std::int32_t inside = radius_ < last ? radius_ : last;
    Add(0, radius_ + 1);
    for (std::int32_t y = 1; y <= inside; ++y) Add(y, 1);
    Add(last, radius_ - inside);
  }

  void AverageColumns(std::int32_t y) {
    kernels::ref::WriteAverages(sums_, 2 * radius_ + 1, writer_.Layout(), writer_.GetRow(y), reader_.width);
    kernels::ref::MoveDown(sums_, reader_.Layout(), SourceRow(y + radius_ + 1), SourceRow(y - radius_),
                           reader_.width);
  }

  PictureReader& reader_;
  PictureWriter& writer_;
  kernels::ref::ColumnSums sums_;
  std::uint8_t* rowCopy_;
  std::int32_t radius_;
};

}  // namespace

BlurBuffers::BlurBuffers(std::int64_t radius, std::int32_t width, std::int32_t rowBytes)
    : table(ByteSize(radius).Times(2).Plus(1).Times(1024).Plus(1024).Bytes()),
      red(ByteSize(width).Times(4).Plus(20).Bytes()),
      green(ByteSize(width).Times(4).Plus(20).Bytes()),
      blue(ByteSize(width).Times(4).Plus(20).Bytes()),
      rowCopy(ByteSize(rowBytes).Plus(20).Bytes()) {}

void RunBlurPasses(PictureReader& reader, PictureWriter& writer, const BlurBuffers& buffers,
                   std::int32_t radius, YieldData& yieldData) {
  PlainBlur(reader, writer, buffers, radius).Run(yieldData);
}

}  // namespace pixmorph
