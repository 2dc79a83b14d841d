#include "scaling/resample.h"

#include "kernels/levels.h"
#include "kernels/resample_kernel.h"
#include "picture/editor.h"
#include "runtime/yield.h"
#include "scaling/contributions.h"
#include "scaling/filters.h"
#include "scaling/fused_resample.h"
#include "support/numeric.h"
#include "support/owned.h"
#include "support/wide_registers.h"

namespace pixmorph {

namespace {

// One call of an instance. Members are released in reverse, the writer before the reader.
class Resampling {
 public:
  Resampling(const Filter& filter, std::int32_t width, std::int32_t height, std::int32_t yieldInterval)
      : filter_(filter), width_(width), height_(height), yield_{yieldInterval, 0} {}

  // The story of the call: [calls host] [may yield]
  REALpictureStruct* Run(REALpictureStruct* pic) {
    if (!reader_.GetPictureReader(pic)) return nullptr;
    intermediate_ = WorkBuffer<std::uint32_t>(ByteSize(reader_.height).Times(width_).Times(4).Bytes());
    if (!intermediate_ || !table_.Allocate(width_)) return Abandon();
    yield_.YieldPoint();
    table_.Build(filter_, Axis(width_, reader_.width, true), phases_);
    yield_.YieldPoint();
    fused_ = Readable() && fusedPasses_.KeepRowWeights(table_.Lists(), width_, reader_.width);
    if (!fused_) AlongRows();
    table_.FreeEntries();
    yield_.YieldPoint();
    if (width_ < height_ && !table_.Allocate(height_)) return Abandon();
    table_.Build(filter_, Axis(height_, reader_.height, false), phases_);
    yield_.YieldPoint();
    if (fused_ && !fusedPasses_.Plan(table_.Lists(), height_, reader_.height)) AlongRowsAfterAll();
    PictureRef result = PictureRef::Adopt(Write());
    ReleaseAll();
    yield_.YieldPoint();
    return result.Detach();
  }

 private:
  static ResampleAxis Axis(std::int32_t newLength, std::int32_t oldLength, bool horizontal) {
    return {static_cast<double>(newLength) / oldLength, oldLength, newLength, horizontal};
  }

  // The layouts that fast kernels know; of others every pixel reads as black.
  bool Readable() const { return reader_.Layout() != kernels::PixelLayout::kNone; }

  void AlongRows() {
    std::uint32_t* out = intermediate_.Get();
    for (std::int32_t k = 0; k < reader_.height; ++k, out += width_) {
      kernels_.alongRow(out, table_.Lists(), width_, reader_.row, reader_.Layout());
      reader_.AddPixelRow();
    }
  }

  // The plain pass once its lists are gone, where the fused passes turn out not to be possible.
  void AlongRowsAfterAll() {
    std::uint32_t* out = intermediate_.Get();
    for (std::int32_t k = 0; k < reader_.height; ++k, out += width_)
      kernels::ref::ResampleAlongRow(out, fusedPasses_.RowWeights(), reader_.GetRow(k), reader_.Layout());
    fused_ = false;
  }

  void WriteRow(std::int32_t r) {
    std::uint8_t* const out = writer_.GetRow(r);
    if (fused_ && writer_.Layout() != kernels::PixelLayout::kNone)
      fusedPasses_.WriteRow(reader_, r, out, writer_.Layout());
    else
      kernels_.alongColumns(out, writer_.Layout(), table_.Lists()[r], intermediate_.Get(), width_);
  }

  // The result with one reference, or nil when no writer can be had.
  REALpictureStruct* Write() {
    if (!writer_.NewPictureWriter(reader_, width_, height_)) return nullptr;
    for (std::int32_t r = 0; r < height_; ++r) {
      WriteRow(r);
      if (yield_.interval != 0) fusedPasses_.FinishRows();  // a yield may let others look
      yield_.YieldPoint();
    }
    fusedPasses_.FinishRows();
    yield_.YieldPoint();
    PictureRef result = PictureRef::Adopt(writer_.RenderPictureWriter());
    yield_.YieldPoint();
    return result.Detach();
  }

  void ReleaseAll() {
    table_.Release();
    intermediate_.Release();
    reader_.clear();
  }

  REALpictureStruct* Abandon() {
    ReleaseAll();
    return nullptr;
  }

  const kernels::ResampleKernels& kernels_ = *kernels::Kernels().resample;
  const Filter& filter_;
  const std::int32_t width_, height_;
  YieldData yield_;
  PictureReader reader_;
  PictureWriter writer_;
  WorkBuffer<std::uint32_t> intermediate_;
  PhaseWeights phases_;
  ContributionTable table_;
  FusedResample fusedPasses_;
  bool fused_ = false;
};

using Instance = REALpictureStruct* (*)(REALpictureStruct*, std::int32_t, std::int32_t, std::int32_t);
constexpr Instance kInstances[] = {
    triangleResampleDouble, boxResampleDouble,   lanczos3ResampleDouble, lanczos8ResampleDouble,
    mitchellResampleDouble, poly3ResampleDouble, cubicResampleDouble,
};

}  // namespace

#define PIXMORPH_INSTANCE(name, mode)                                                      \
  REALpictureStruct* name(REALpictureStruct* pic, std::int32_t width, std::int32_t height, \
                          std::int32_t interval) {                                         \
    return Resampling(FilterOfMode(mode), width, height, interval).Run(pic);               \
  }
PIXMORPH_INSTANCE(triangleResampleDouble, 1)
PIXMORPH_INSTANCE(boxResampleDouble, 2)
PIXMORPH_INSTANCE(lanczos3ResampleDouble, 3)
PIXMORPH_INSTANCE(lanczos8ResampleDouble, 4)
PIXMORPH_INSTANCE(mitchellResampleDouble, 5)
PIXMORPH_INSTANCE(poly3ResampleDouble, 6)
PIXMORPH_INSTANCE(cubicResampleDouble, 7)
#undef PIXMORPH_INSTANCE

REALpictureStruct* PictureScalingKTZ(REALpictureStruct* pic, std::int32_t mode, std::int32_t width,
                                     std::int32_t height, std::int32_t interval) {
  if (!pic || height < 1 || width < 1) return nullptr;
  if (mode < kFirstFilterMode || mode > kLastFilterMode) return nullptr;
  const WideRegisters wideRegisters(kernels::Kernels().wideStates);
  return kInstances[mode - kFirstFilterMode](pic, width, height, interval);
}

}  // namespace pixmorph
