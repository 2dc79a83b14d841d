#include "picture/utilities.h"

#include "host/services.h"
#include "host/versions.h"
#include "support/owned.h"

namespace pixmorph {

namespace {

using AlphaConstructor = void (*)(REALpictureStruct* picture, int width, int height);
using MaskCopier = REALpictureStruct* (*)(REALpictureStruct* picture);
using MaskSetter = void (*)(REALpictureStruct* picture, REALpictureStruct* mask);

// A method of the object as a function of that type, the object being its first argument; null when missing.
template <class Method>
Method LoadMethod(REALpictureStruct* picture, const char* declaration) {
  return reinterpret_cast<Method>(REALLoadObjectMethod(AsObject(picture), declaration));
}

std::int32_t GetIntProperty(REALpictureStruct* picture, const char* name) {
  int value = 0;
  if (!picture || !HostTrue(REALGetPropValueInt32(AsObject(picture), name, &value))) return 0;
  return value;
}

bool SidesInRange(std::int32_t width, std::int32_t height) {
  return width >= 1 && width <= kLargestSide && height >= 1 && height <= kLargestSide;
}

// Draws the top left part of that size, one to one.
void DrawUnscaled(REALpictureStruct* destination, REALpictureStruct* source, std::int32_t width,
                  std::int32_t height) {
  GraphicsDrawPicture(destination, source, 0, 0, width, height, 0, 0, width, height);
}

}  // namespace

std::int32_t GetPictureWidth(REALpictureStruct* picture) { return GetIntProperty(picture, "Width"); }

std::int32_t GetPictureHeight(REALpictureStruct* picture) { return GetIntProperty(picture, "Height"); }

bool PictureHasAlphaChannel(REALpictureStruct* picture) {
  unsigned char value = 0;
  if (!picture || !HostTrue(REALGetPropValueUInt8(AsObject(picture), "HasAlphaChannel", &value)))
    return false;
  return value != 0;
}

REALpictureStruct* NewPictureWithAlphaChannel(std::int32_t width, std::int32_t height) {
  if (width < 1 || height < 1 || !RuntimeAtLeast(kVersionAlphaPictures)) return nullptr;
  PictureRef made = PictureRef::Adopt(reinterpret_cast<REALpictureStruct*>(REALnewInstance("Picture")));
  if (!made) return nullptr;
  const auto construct =
      LoadMethod<AlphaConstructor>(made.Get(), "Constructor(width as integer, height as integer)");
  if (!construct) return nullptr;
  construct(made.Get(), width, height);
  return made.Detach();
}

REALpictureStruct* NewPicture(std::int32_t width, std::int32_t height, signed char alphaChannel) {
  if (!SidesInRange(width, height)) return nullptr;
  if (alphaChannel) {
    if (REALpictureStruct* made = NewPictureWithAlphaChannel(width, height)) return made;
  }
  return REALNewPicture(width, height, kPictureDepth);
}

REALpictureStruct* BitmapPicture(REALpictureStruct* picture) { return PictureRef::Retain(picture).Detach(); }

REALpictureStruct* ClonePicture(REALpictureStruct* picture, std::int32_t width, std::int32_t height) {
  if (!picture || width < 1 || height < 1) return nullptr;
  PictureRef clone = PictureRef::Adopt(REALNewPicture(width, height, kPictureDepth));
  if (!clone) return nullptr;
  const auto graphics = HostRef<REALgraphicsStruct>::Adopt(REALGetPictureGraphics(clone.Get()));
  if (graphics) {
    GraphicsDrawPicture(graphics.Get(), clone.Get(), picture, 0, 0, width, height, 0, 0, width, height);
  }
  return clone.Detach();
}

REALpictureStruct* ClonePicture(REALpictureStruct* picture) {
  if (!picture) return nullptr;
  const std::int32_t width = GetPictureWidth(picture);
  return ClonePicture(picture, width, GetPictureHeight(picture));
}

REALpictureStruct* ClonePictureWithMask(REALpictureStruct* picture, std::int32_t width, std::int32_t height) {
  if (!picture || width < 1 || height < 1) return nullptr;
  PictureRef clone = PictureRef::Adopt(REALNewPicture(width, height, kPictureDepth));
  if (!clone) return nullptr;
  DrawUnscaled(clone.Get(), picture, width, height);
  const PictureRef mask = PictureRef::Adopt(REALGetPictureMask(picture, 0));
  if (!mask) return clone.Detach();
  const PictureRef cloneMask = PictureRef::Adopt(REALGetPictureMask(clone.Get(), 1));
  if (cloneMask) DrawUnscaled(cloneMask.Get(), mask.Get(), width, height);
  return clone.Detach();
}

REALpictureStruct* ClonePictureWithMask(REALpictureStruct* picture) {
  if (!picture) return nullptr;
  const std::int32_t width = GetPictureWidth(picture);
  return ClonePictureWithMask(picture, width, GetPictureHeight(picture));
}

REALpictureStruct* ConvertToPictureWithMask(REALpictureStruct* picture, std::int32_t width,
                                            std::int32_t height) {
  if (!picture) return nullptr;
  PictureRef converted = PictureRef::Adopt(REALNewPicture(width, height, kPictureDepth));
  if (!converted) return nullptr;
  DrawUnscaled(converted.Get(), picture, width, height);
  const PictureRef mask = PictureRef::Adopt(CopyMask(picture));
  AssignMask(converted.Get(), mask.Get());
  return converted.Detach();
}

REALpictureStruct* CopyMask(REALpictureStruct* picture) {
  if (!picture) return nullptr;
  const auto copy = LoadMethod<MaskCopier>(picture, "CopyMask as Picture");
  return copy ? copy(picture) : nullptr;
}

bool AssignMask(REALpictureStruct* picture, REALpictureStruct* mask) {
  if (!picture || !mask) return false;
  const auto assign = LoadMethod<MaskSetter>(picture, "Mask(assigns newMask As Picture)");
  if (!assign) return false;
  assign(picture, mask);
  return true;
}

}  // namespace pixmorph
