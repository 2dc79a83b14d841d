#include "scaling/area_rows.h"

namespace pixmorph {

using kernels::kAreaRowsAtOnce;
using kernels::kAreaRowsIn16Bits;
using kernels::kAreaSumPadding;
using kernels::PixelLayout;

namespace {

// Results from this size on are written past the caches where rows repeat [bytes].
constexpr std::int64_t kStreamFrom = 1 << 20;
// Sources from this size on are not expected in the caches [bytes].
constexpr std::int64_t kFarFrom = 16 << 20;

}  // namespace

AreaRows::AreaRows(const SourcePixels& source, PixelLayout outLayout, std::int32_t newWidth,
                   std::int32_t newHeight, const kernels::KernelTable& table)
    : source_(source),
      outLayout_(outLayout),
      kernels_(*table.areaAverage),
      pack_(*table.pack),
      across_(kernels::MakeAreaAxis(source.width, newWidth)),
      down_(kernels::MakeAreaAxis(source.height, newHeight)),
      step_(kernels::BytesPerPixel(source.layout)),
      repeats_(across_.box == 1 && down_.box == 1),
      packs_(outLayout == PixelLayout::kRgb24),
      keepsRow_(newHeight > source.height),
      streams_(std::int64_t{newWidth} * newHeight * 4 >= kStreamFrom),
      far_(std::int64_t{source.width} * source.height * step_ >= kFarFrom),
      totals32_(down_.box > kAreaRowsIn16Bits),
      together_(repeats_ && keepsRow_ && streams_ && !packs_ && kernels_.repeatRows),
      tiles_(step_ == 4 && across_.box * newWidth == source.width &&
             kernels_.canTile(across_.box, down_.box, newWidth)) {
  ready_ = PlanMemory();
  if (ready_) PlanColumns();
}

bool AreaRows::PlanMemory() {
  if (source_.layout == PixelLayout::kNone || outLayout_ == PixelLayout::kNone) return false;
  const std::int64_t elements = std::int64_t{source_.width} * step_ + kAreaSumPadding;
  const std::int64_t starts = slab_.Plan<std::int32_t>(across_.newSize);
  const std::int64_t sums = slab_.Plan<std::uint16_t>(repeats_ ? 0 : elements);
  const std::int64_t totals = slab_.Plan<std::uint32_t>(totals32_ ? elements : 0);
  const std::int64_t row = slab_.Plan<std::uint32_t>(keepsRow_ && !together_ ? across_.newSize : 0);
  const std::int64_t bgrxRow = slab_.Plan<std::uint32_t>(packs_ ? across_.newSize : 0);
  const bool unpacks = repeats_ && step_ == 3;
  const std::int64_t sourceRow = slab_.Plan<std::uint32_t>(unpacks ? source_.width : 0);
  if (!slab_.Allocate()) return false;
  starts_ = slab_.At<std::int32_t>(starts);
  sums_ = slab_.At<std::uint16_t>(sums);
  totals_ = slab_.At<std::uint32_t>(totals);
  row_ = slab_.At<std::uint8_t>(row);
  bgrxRow_ = slab_.At<std::uint8_t>(bgrxRow);
  sourceRow_ = slab_.At<std::uint8_t>(sourceRow);
  return true;
}

void AreaRows::PlanColumns() {
  const std::int32_t step = repeats_ ? 1 : step_;
  for (std::int32_t x = 0; x < across_.newSize; ++x) starts_[x] = across_.Start(x) * step;
  columns_.starts = starts_;
  columns_.count = across_.newSize;
  columns_.boxWidth = across_.box;
  columns_.step = step_;
  columns_.boxPixels = across_.box * down_.box;
  columns_.top = kernels::TopByteMask(outLayout_);
  if (columns_.boxPixels <= kAreaRowsIn16Bits)
    columns_.divisor = kernels::MakeAreaDivisor(columns_.boxPixels);
}

void AreaRows::MakeRow(std::uint8_t* out, std::int32_t y) {
  if (!ready_) {
    kernels::ref::AreaAverageRow(out, outLayout_, source_.rows, source_.layout, across_, down_, y);
    return;
  }
  const std::int32_t y0 = down_.Start(y);
  if (!keepsRow_) {
    MakeRowFrom(out, y0);
    return;
  }
  if (y0 != keptFrom_) MakeRowFrom(row_, y0);
  keptFrom_ = y0;
  const std::int32_t bytes = across_.newSize * kernels::BytesPerPixel(outLayout_);
  if (streams_) {
    kernels_.copyRow(out, row_, bytes);
  } else {
    __builtin_memcpy(out, row_, static_cast<std::uint32_t>(bytes));
  }
}

std::int32_t AreaRows::AtOnce(std::int32_t y) const {
  if (!ready_ || !together_) return 1;
  std::int32_t count = 1;
  while (count < kMostAtOnce && y + count < down_.newSize && down_.Start(y + count) == down_.Start(y))
    ++count;
  return count;
}

void AreaRows::MakeRows(std::uint8_t* const* out, std::int32_t count, std::int32_t y) {
  if (!ready_ || !together_) return MakeRow(out[0], y);
  kernels_.repeatRows({out, count}, SourceRow(down_.Start(y)), starts_, across_.newSize,
                      kernels::TopByteMask(outLayout_));
}

void AreaRows::MakeRowFrom(std::uint8_t* out, std::int32_t y0) {
  MakeBgrx(packs_ ? bgrxRow_ : out, y0);
  if (packs_) pack_.bgrxToRgb24(out, bgrxRow_, across_.newSize);
}

void AreaRows::MakeBgrx(std::uint8_t* bgrx, std::int32_t y0) {
  if (repeats_) {
    kernels_.repeatPixels(bgrx, SourceRow(y0), starts_, across_.newSize, kernels::TopByteMask(outLayout_));
  } else {
    AverageBoxes(bgrx, y0);
  }
}

// As 32-bit pixels, to be repeated.
const std::uint8_t* AreaRows::SourceRow(std::int32_t y0) {
  const std::uint8_t* const row = source_.rows.Row(y0);
  if (source_.layout != PixelLayout::kRgb24) return row;
  pack_.rgb24ToBgrxAhead(sourceRow_, row, source_.width, 0);
  return sourceRow_;
}

void AreaRows::AverageBoxes(std::uint8_t* bgrx, std::int32_t y0) {
  if (tiles_) {
    const std::uint8_t* rows[kAreaRowsAtOnce];
    for (std::int32_t i = 0; i < down_.box; ++i) rows[i] = source_.rows.Row(y0 + i);
    (far_ ? kernels_.averageFarTiles : kernels_.averageTiles)(bgrx, rows, down_.box, columns_);
  } else if (totals32_) {
    SumTotals(y0);
    kernels_.averageTotals(bgrx, totals_, columns_);
  } else {
    SumRows(y0, down_.box);
    const bool small = columns_.boxPixels <= kAreaRowsIn16Bits;
    (small ? kernels_.averageSmall : kernels_.averageLarge)(bgrx, sums_, columns_);
  }
}

void AreaRows::SumRows(std::int32_t y0, std::int32_t rowCount) {
  const auto addRows = far_ ? kernels_.addFarRows : kernels_.addRows;
  const std::uint8_t* rows[kAreaRowsAtOnce];
  for (std::int32_t done = 0; done < rowCount; done += kAreaRowsAtOnce) {
    const std::int32_t left = rowCount - done;
    const std::int32_t now = left < kAreaRowsAtOnce ? left : kAreaRowsAtOnce;
    for (std::int32_t i = 0; i < now; ++i) rows[i] = source_.rows.Row(y0 + done + i);
    addRows(sums_, rows, now, source_.width * step_, done == 0);
  }
}

void AreaRows::SumTotals(std::int32_t y0) {
  for (std::int32_t done = 0; done < down_.box; done += kAreaRowsIn16Bits) {
    const std::int32_t left = down_.box - done;
    SumRows(y0 + done, left < kAreaRowsIn16Bits ? left : kAreaRowsIn16Bits);
    kernels_.addSums(totals_, sums_, source_.width * step_, done == 0);
  }
}

}  // namespace pixmorph
