#include "scaling/scale.h"

#include "kernels/levels.h"
#include "picture/utilities.h"
#include "runtime/yield.h"
#include "scaling/area_average.h"
#include "scaling/smooth_enlarge.h"
#include "support/owned.h"
#include "support/wide_registers.h"

namespace pixmorph {

namespace {

using Resize = REALpictureStruct* (*)(REALpictureStruct* picture, int width, int height);

REALpictureStruct* SmoothEnlarge(REALpictureStruct* picture, int width, int height) {
  return ResizeSmoothEnlarge(picture, width, height);
}

void StartYields(int yieldTicks) {
  yield.interval = yieldTicks;
  yield.lastYield = 0;
}

bool BothSidesGrow(int sourceWidth, int sourceHeight, int width, int height) {
  return sourceWidth < width && sourceHeight < height;
}

// Gives `result` the resized mask of `picture`. A mask that is missing or can't be resized leaves it as it
// is.
void ResizeMask(REALpictureStruct* picture, REALpictureStruct* result, int width, int height, Resize resize) {
  const PictureRef mask = PictureRef::Adopt(REALGetPictureMask(picture, 0));
  if (!mask) return;
  const PictureRef scaledMask = PictureRef::Adopt(resize(mask.Get(), width, height));
  if (!scaledMask) return;
  const PictureRef target = PictureRef::Adopt(REALGetPictureMask(result, 1));
  if (!target) return;
  GraphicsDrawPicture(target.Get(), scaledMask.Get(), 0, 0, width, height, 0, 0, width, height);
}

// Image and mask by the same routine; nil when the image can't be resized.
REALpictureStruct* ResizeBoth(REALpictureStruct* picture, int width, int height, Resize resize) {
  PictureRef result = PictureRef::Adopt(resize(picture, width, height));
  if (result) ResizeMask(picture, result.Get(), width, height, resize);
  return result.Detach();
}

}  // namespace

REALpictureStruct* ResizeImageAndMaskInternal(REALpictureStruct* picture, int width, int height,
                                              signed char antiAlias, int /*yieldTicks*/, int sourceWidth,
                                              int sourceHeight) {
  if (antiAlias && BothSidesGrow(sourceWidth, sourceHeight, width, height)) {
    if (REALpictureStruct* result = ResizeBoth(picture, width, height, SmoothEnlarge)) return result;
  }
  return ResizeBoth(picture, width, height, ResizeAreaAverage);
}

REALpictureStruct* PictureResizeKTZ(REALpictureStruct* self, int width, int height, signed char antiAlias,
                                    int yieldTicks) {
  const WideRegisters wideRegisters(kernels::Kernels().wideStates);
  StartYields(yieldTicks);
  const int sourceWidth = GetPictureWidth(self);
  const int sourceHeight = GetPictureHeight(self);
  if (sourceWidth == width && sourceHeight == height) return PictureRef::Retain(self).Detach();
  PictureRef kept;
  if (antiAlias && BothSidesGrow(sourceWidth, sourceHeight, width, height)) {
    if (REALpictureStruct* result = ResizeSmoothEnlarge(self, width, height, &kept)) return result;
  }
  return ResizeAreaAverage(self, width, height);
}

REALpictureStruct* PictureResizeImageAndMaskKTZ(REALpictureStruct* self, int width, int height,
                                                signed char antiAlias, int yieldTicks) {
  if (!self) return nullptr;
  const WideRegisters wideRegisters(kernels::Kernels().wideStates);
  StartYields(yieldTicks);
  const int sourceWidth = GetPictureWidth(self);
  const int sourceHeight = GetPictureHeight(self);
  if (sourceWidth == width && sourceHeight == height) return PictureRef::Retain(self).Detach();
  // The mask is fetched after script code had its turns: whatever it belongs to is kept until then.
  const PictureRef source = PictureHasAlphaChannel(self)
                                ? PictureRef::Adopt(ConvertToPictureWithMask(self, sourceWidth, sourceHeight))
                                : PictureRef::Retain(self);
  if (!source) return nullptr;
  return ResizeImageAndMaskInternal(source.Get(), width, height, antiAlias, yieldTicks, sourceWidth,
                                    sourceHeight);
}

}  // namespace pixmorph
