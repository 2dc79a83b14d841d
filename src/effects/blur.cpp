#include "effects/blur.h"

#include "effects/blur_passes.h"
#include "kernels/levels.h"
#include "picture/editor.h"
#include "runtime/yield.h"
#include "support/numeric.h"
#include "support/owned.h"
#include "support/wide_registers.h"

namespace pixmorph {
namespace {

// The buffers live here: they are given back before the last yield.
void Blur(PictureReader& reader, PictureWriter& writer, std::int64_t radius, YieldData& yieldData) {
  // A surface may claim a stride shorter than its rows.
  const std::int32_t pixelBytes = reader.width * writer.pixelSize;
  const std::int32_t rowBytes = writer.rowBytes > pixelBytes ? writer.rowBytes : pixelBytes;
  const BlurBuffers buffers(radius, reader.width, rowBytes);
  if (!buffers.Complete()) return;
  yieldData.YieldPoint();
  // The table's size limits the radius to 20 bits.
  RunBlurPasses(reader, writer, buffers, static_cast<std::int32_t>(radius), yieldData);
}

}  // namespace

REALpictureStruct* BlurKTZ(REALpictureStruct* picture, double radius, std::int32_t yieldInterval) {
  if (!(radius >= 1)) return PictureRef::Retain(picture).Detach();
  const WideRegisters wideRegisters(kernels::Kernels().wideStates);
  PictureReader reader;
  if (!reader.GetPictureReader(picture)) return nullptr;
  PictureWriter writer;
  if (!writer.NewPictureWriter(reader.width, reader.height)) return nullptr;
  YieldData yieldData{yieldInterval, 0};
  Blur(reader, writer, TruncateToInt64(radius), yieldData);
  yieldData.YieldPoint();
  REALpictureStruct* result = writer.RenderPictureWriter();
  reader.clear();
  return result;
}

}  // namespace pixmorph
