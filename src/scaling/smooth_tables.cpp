#include "scaling/smooth_tables.h"

namespace pixmorph {

namespace {

// Every array is this much longer than its entries [bytes].
constexpr std::int64_t kMarginBytes = 20;

// floor(i × source / target) and the remainder of the division.
struct Position {
  std::int32_t whole;
  std::int32_t rest;
};

// Steps along an axis without a division per entry.
class Stepper {
 public:
  Stepper(std::int32_t source, std::int32_t target) : source_(source), target_(target) {}
  Position At() const { return {whole_, static_cast<std::int32_t>(rest_)}; }
  void Next() {
    rest_ += source_;
    while (rest_ >= target_) {
      rest_ -= target_;
      ++whole_;
    }
  }

 private:
  std::int64_t source_, target_, rest_ = 0;
  std::int32_t whole_ = 0;
};

void FillIndex(std::int32_t* index, std::int32_t count, std::int32_t source, std::int32_t target) {
  Stepper position(source, target);
  for (std::int32_t i = 0; i < count; ++i, position.Next()) index[i] = position.At().whole;
}

// Returns the period.
std::int32_t FillWeights(kernels::SmoothWeights* weights, std::int32_t source, std::int32_t target) {
  Stepper position(source, target);
  std::int32_t period = target;
  for (std::int32_t i = 0; i < target; ++i, position.Next()) {
    if (i > 0 && i < period && position.At().rest == 0) period = i;
    weights[i] = i < period ? kernels::SmoothWeightsAt(static_cast<double>(position.At().rest) / target)
                            : weights[i - period];
  }
  return period;
}

}  // namespace

SmoothTables::SmoothTables(std::int32_t sourceWidth, std::int32_t sourceHeight, std::int32_t newWidth,
                           std::int32_t newHeight)
    : sourceWidth_(sourceWidth), sourceHeight_(sourceHeight), newWidth_(newWidth), newHeight_(newHeight) {}

bool SmoothTables::Allocate() {
  const std::int64_t entries = newWidth_ > newHeight_ ? newWidth_ : newHeight_;
  const std::int64_t indexBytes = ByteSize(4).Times(entries).Plus(kMarginBytes).Bytes();
  const std::int64_t weightBytes = ByteSize(16).Times(entries).Plus(kMarginBytes).Bytes();
  columnIndex_ = WorkBuffer<std::int32_t>(indexBytes);
  rowIndex_ = WorkBuffer<std::int32_t>(indexBytes);
  columnWeights_ = WorkBuffer<kernels::SmoothWeights>(weightBytes);
  rowWeights_ = WorkBuffer<kernels::SmoothWeights>(weightBytes);
  rowBuffer_ = WorkBuffer<float>(indexBytes);
  return columnIndex_ && rowIndex_ && columnWeights_ && rowWeights_ && rowBuffer_;
}

void SmoothTables::Free() {
  columnIndex_.Release();
  rowIndex_.Release();
  columnWeights_.Release();
  rowWeights_.Release();
  rowBuffer_.Release();
}

void SmoothTables::FillIndexes() {
  FillIndex(columnIndex_.Get(), newWidth_, sourceWidth_, newWidth_);
  FillIndex(rowIndex_.Get(), newHeight_, sourceHeight_, newHeight_);
}

void SmoothTables::FillColumnWeights() {
  columnPeriod_ = FillWeights(columnWeights_.Get(), sourceWidth_, newWidth_);
}

void SmoothTables::FillRowWeights() {
  rowPeriod_ = FillWeights(rowWeights_.Get(), sourceHeight_, newHeight_);
}

}  // namespace pixmorph
