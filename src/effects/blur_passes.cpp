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

// The usual way: both passes on one row after the other, in 32-bit rows of its own, so that what the first
// pass writes is still at hand when the second one reads it. Averages go into the result once.
class FusedBlur {
 public:
  FusedBlur(PictureReader& reader, PictureWriter& writer, std::int32_t radius)
      : reader_(reader),
        writer_(writer),
        pack_(*kernels::Kernels().pack),
        blur_(*kernels::Kernels().blur),
        plan_(kernels::PlanBlur(reader.width, reader.height, radius, kernels::TopByteMask(writer.Layout()))),
        rowBytes_(kernels::BlurRowPixels(plan_) * 4),
        sumBytes_(kernels::BlurSumBytes(plan_)),
        memory_(ByteSize(rowBytes_).Times(kRows).Plus(sumBytes_).Plus(kAlignment).Bytes()) {
    // A row that is packed afterwards is wanted in the caches.
    if (writer.Layout() == kernels::PixelLayout::kRgb24) plan_.streaming = false;
  }

  explicit operator bool() const { return static_cast<bool>(memory_); }

  void Run(YieldData& yieldData) {
    Prime();
    for (std::int32_t y = 0; y < reader_.height; ++y) {
      AverageColumns(y);
      yieldData.YieldPoint();
      AverageRow(y);
      if (y == reader_.height - 1) blur_.finish();
      yieldData.YieldPoint();
    }
  }

 private:
  // Rows of the workspace. Sources and results without a 32-bit layout pass through the last three.
  enum Row { kIntermediate, kEntering, kLeaving, kResult, kRows };
  static constexpr std::int32_t kAlignment = 64;
  // Rows that take the memory's time to arrive while they are being worked on.
  static constexpr std::int32_t kRowsAhead = 2;

  std::uint8_t* Aligned() const {
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(memory_.Get());
    return memory_.Get() + (-address & (kAlignment - 1));
  }
  void* Sums() const { return Aligned() + kRows * rowBytes_; }
  std::uint8_t* WorkRow(Row row) const { return Aligned() + row * rowBytes_; }
  std::uint8_t* Intermediate() const { return WorkRow(kIntermediate) + kernels::BlurRowStart(plan_) * 4; }
  std::uint8_t* Address(std::int32_t y) { return reader_.GetRow(ClampRow(y, reader_.height)); }

  const std::uint8_t* SourceRow(std::int32_t y, Row unpacked) {
    const std::uint8_t* row = Address(y);
    if (reader_.Layout() != kernels::PixelLayout::kRgb24) return row;
    pack_.rgb24ToBgrx(WorkRow(unpacked), row, reader_.width, 0);
    return WorkRow(unpacked);
  }

  void Prime() {
    const std::int32_t last = reader_.height - 1, radius = plan_.radius;
    const std::int32_t inside = radius < last ? radius : last;
    blur_.startSums(plan_, Sums());
    blur_.addRow(plan_, Sums(), SourceRow(0, kEntering), radius + 1);
    for (std::int32_t y = 1; y <= inside; ++y) blur_.addRow(plan_, Sums(), SourceRow(y, kEntering), 1);
    blur_.addRow(plan_, Sums(), SourceRow(last, kEntering), radius - inside);
  }

  void AverageColumns(std::int32_t y) {
    if (y == 0) return blur_.firstRow(plan_, Intermediate(), Sums());
    const std::int32_t enters = y + plan_.radius, leaves = y - plan_.radius - 1;
    const kernels::BlurSourceRows rows = {SourceRow(enters, kEntering), SourceRow(leaves, kLeaving),
                                          Address(enters + kRowsAhead), Address(leaves + kRowsAhead)};
    blur_.nextRow(plan_, Intermediate(), Sums(), rows);
  }

  void AverageRow(std::int32_t y) {
    std::uint8_t* to = writer_.GetRow(y);
    if (writer_.Layout() != kernels::PixelLayout::kRgb24) return blur_.averageRow(plan_, to, Intermediate());
    blur_.averageRow(plan_, WorkRow(kResult), Intermediate());
    pack_.bgrxToRgb24(to, WorkRow(kResult), reader_.width);
  }

  PictureReader& reader_;
  PictureWriter& writer_;
  const kernels::PackKernels& pack_;
  const kernels::BlurKernels& blur_;
  kernels::BlurPlan plan_;
  const std::int32_t rowBytes_;
  const std::int64_t sumBytes_;
  WorkBuffer<std::uint8_t> memory_;
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
  FusedBlur fused(reader, writer, radius);
  if (fused) return fused.Run(yieldData);
  PlainBlur(reader, writer, buffers, radius).Run(yieldData);
}

}  // namespace pixmorph
