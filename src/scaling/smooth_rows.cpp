#include "scaling/smooth_rows.h"

namespace pixmorph {

using kernels::PixelLayout;

namespace {

// Columns go first where every source row serves this many rows of the result.
constexpr std::int32_t kSpreadFrom = 2;

bool AreExact(const kernels::SmoothWeights& weights) {
  return kernels::IsExactSmoothWeight(weights.tap[1]) && kernels::IsExactSmoothWeight(weights.tap[2]);
}

}  // namespace

SmoothRows::SmoothRows(const SourcePixels& source, PixelLayout outLayout, const SmoothTables& tables,
                       std::int32_t newWidth, std::int32_t newHeight, const kernels::KernelTable& table)
    : source_(source),
      outLayout_(outLayout),
      tables_(tables),
      kernels_(*table.smoothEnlarge),
      pack_(*table.pack),
      doubles_(newWidth == 2 * source.width && newHeight == 2 * source.height),
      spreads_(kernels_.spreadLine && newHeight / kSpreadFrom >= source.height) {
  columns_.count = newWidth;
  columns_.sourceWidth = source.width;
  ready_ = PlanMemory();
}

bool SmoothRows::PlanMemory() {
  if (source_.layout == PixelLayout::kNone || outLayout_ == PixelLayout::kNone) return false;
  const std::int64_t entries = std::int64_t{columns_.count} + kernels::kSmoothColumnBlock;
  const std::int64_t lineFloats = std::int64_t{kernels::SmoothPlaneFloats(source_.width)} * 4;
  const bool packs = source_.layout == PixelLayout::kRgb24 || outLayout_ == PixelLayout::kRgb24;
  const std::int64_t index = slab_.Plan<std::int32_t>(entries);
  const std::int64_t weight0 = slab_.Plan<float>(entries);
  const std::int64_t weight1 = slab_.Plan<float>(entries);
  const std::int64_t exactMask = slab_.Plan<std::int32_t>(entries);
  const std::int64_t lines[3] = {slab_.Plan<float>(lineFloats), slab_.Plan<float>(lineFloats),
                                 slab_.Plan<float>(lineFloats)};
  const std::int64_t wideFloats = spreads_ ? kernels::SmoothWideFloats(columns_.count) : 0;
  const std::int64_t wide[2] = {slab_.Plan<float>(wideFloats), slab_.Plan<float>(wideFloats)};
  const std::int64_t row = slab_.Plan<std::uint32_t>(packs ? columns_.count : 0);
  if (!slab_.Allocate()) return false;
  if (!doubles_)
    FillColumns(slab_.At<std::int32_t>(index), slab_.At<float>(weight0), slab_.At<float>(weight1),
                slab_.At<std::int32_t>(exactMask));
  for (int i = 0; i < 2; ++i) {
    lines_[i] = slab_.At<float>(lines[i]);
    wide_[i] = slab_.At<float>(wide[i]);
  }
  blended_ = slab_.At<float>(lines[2]);
  row_ = slab_.At<std::uint8_t>(row);
  return true;
}

void SmoothRows::FillColumns(std::int32_t* index, float* weight0, float* weight1, std::int32_t* exactMask) {
  columns_.allExact = true;
  for (std::int32_t i = 0; i < columns_.count + kernels::kSmoothColumnBlock; ++i) {
    const std::int32_t x = i < columns_.count ? i : columns_.count - 1;
    const kernels::SmoothWeights& weights = tables_.ColumnWeights()[x];
    index[i] = tables_.ColumnIndex()[x];
    weight0[i] = weights.tap[2] * kernels::kSmoothWeightScale;
    weight1[i] = weights.tap[1] * kernels::kSmoothWeightScale;
    const bool exact = AreExact(weights);
    exactMask[i] = exact ? -1 : 0;
    columns_.allExact = columns_.allExact && exact;
  }
  columns_.clear = kernels::SmoothStaysClear(tables_.ColumnPeriod(), tables_.RowPeriod());
  columns_.index = index;
  columns_.weight0 = weight0;
  columns_.weight1 = weight1;
  columns_.exactMask = exactMask;
}

// A source row as 32-bit pixels, in `unpacked` where it has three bytes a pixel.
const std::uint8_t* SmoothRows::Pixels(std::int32_t sourceRow, std::uint8_t* unpacked) const {
  const std::uint8_t* pixels = source_.rows.Row(sourceRow);
  if (source_.layout != PixelLayout::kRgb24) return pixels;
  pack_.rgb24ToBgrx(unpacked, pixels, source_.width, 0xFF000000u);
  return unpacked;
}

// The slot that holds a source row as a line; the one that holds row `besides` is left alone.
int SmoothRows::Slot(std::int32_t sourceRow, std::int32_t besides) {
  for (int i = 0; i < 2; ++i)
    if (lineOf_[i] == sourceRow) return i;
  const int slot = lineOf_[0] == besides ? 1 : 0;
  lineTop_[slot] = kernels_.unpackLine(lines_[slot], Pixels(sourceRow, row_), source_.width);
  lineOf_[slot] = sourceRow;
  wideHolds_[slot] = Wide::kNone;
  return slot;
}

const float* SmoothRows::WideLine(int slot, bool withTop) {
  const Wide needed = withTop ? Wide::kAll : Wide::kColours;
  if (wideHolds_[slot] < needed) {
    kernels_.spreadLine(wide_[slot], lines_[slot], columns_, withTop);
    wideHolds_[slot] = needed;
  }
  return wide_[slot];
}

void SmoothRows::MixWide(std::uint8_t* bgrx, int upper, int lower, const kernels::SmoothWeights& weights) {
  const std::int32_t top = CommonTop(upper, lower);
  const kernels::SmoothMix mix = {
      lines_[upper],  lines_[lower], WideLine(upper, top < 0), WideLine(lower, top < 0), weights.tap[2],
      weights.tap[1], top,           AreExact(weights)};
  kernels_.mixLines(bgrx, mix, columns_);
}

void SmoothRows::InterpolateBlended(std::uint8_t* bgrx, int upper, int lower,
                                    const kernels::SmoothWeights& weights) {
  const std::int32_t top = CommonTop(upper, lower);
  kernels_.blendLines(blended_, lines_[upper], lines_[lower], weights.tap[2], weights.tap[1], source_.width,
                      top < 0);
  kernels_.interpolateLine(bgrx, {blended_, top, AreExact(weights)}, columns_);
}

void SmoothRows::Interpolate(std::uint8_t* bgrx, std::int32_t y) {
  const kernels::SmoothWeights& weights = tables_.RowWeights(y);
  const std::int32_t s = tables_.RowIndex(y);
  const std::int32_t below = s + 1 < source_.height ? s + 1 : source_.height - 1;
  const int upper = Slot(s, below);
  // Adding nothing of the row below changes no value.
  const bool alone = weights.tap[1] == 0.0f && weights.tap[2] == 1.0f;
  const int lower = alone ? upper : Slot(below, s);
  if (spreads_)
    MixWide(bgrx, upper, lower, weights);
  else if (alone)
    kernels_.interpolateLine(bgrx, {lines_[upper], lineTop_[upper], true}, columns_);
  else
    InterpolateBlended(bgrx, upper, lower, weights);
}

void SmoothRows::Double(std::uint8_t* bgrx, std::int32_t y) {
  const std::int32_t s = y / 2;
  const std::int32_t below = y % 2 == 0 || s + 1 == source_.height ? s : s + 1;
  const std::uint8_t* upper = Pixels(s, reinterpret_cast<std::uint8_t*>(lines_[0]));
  const std::uint8_t* lower = below == s ? upper : Pixels(below, reinterpret_cast<std::uint8_t*>(lines_[1]));
  kernels_.doubleRow(bgrx, upper, lower, source_.width);
}

void SmoothRows::MakeRow(std::uint8_t* out, std::int32_t y) {
  const bool packs = outLayout_ == PixelLayout::kRgb24;
  // `row_` is free again by the time new pixels are written to it.
  std::uint8_t* bgrx = packs ? row_ : out;
  if (doubles_) {
    Double(bgrx, y);
  } else {
    Interpolate(bgrx, y);
  }
  if (packs) pack_.bgrxToRgb24(out, row_, columns_.count);
}

}  // namespace pixmorph
