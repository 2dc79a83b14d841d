#include "host/services.h"

#include <cstdlib>

#include "bench/rehearsal/picture.h"
#include "picture/pixel_format.h"
#include "picture/utilities.h"
#include "support/exceptions.h"

// The few runtime services and picture utilities that the operations need, over pictures in plain memory.
namespace rehearsal {

std::int32_t gNewPictureType = pixmorph::kPixelHostRGB32;

Picture* NewPicture(int width, int height, std::int32_t pixelType) {
  const int stride = width * pixmorph::PixelTypeInfo(pixelType).bytesPerPixel;
  auto* pixels = static_cast<std::uint8_t*>(
      std::calloc(static_cast<std::size_t>(height), static_cast<std::size_t>(stride)));
  if (!pixels) return nullptr;
  return new Picture{1,      width,  height, pixelType, pixelType == pixmorph::kPixelCairoAlpha32,
                     stride, pixels, nullptr};
}

void Retain(Picture* picture) { ++picture->references; }

void Release(Picture* picture) {
  if (--picture->references > 0) return;
  if (picture->mask) Release(picture->mask);
  std::free(picture->pixels);
  delete picture;
}

}  // namespace rehearsal

namespace pixmorph {
namespace {

rehearsal::Picture* AsPicture(REALobjectStruct* object) {
  return reinterpret_cast<rehearsal::Picture*>(object);
}

}  // namespace

void REALLockObject(REALobjectStruct* object) { rehearsal::Retain(AsPicture(object)); }
void REALUnlockObject(REALobjectStruct* object) { rehearsal::Release(AsPicture(object)); }
void REALYieldToRB() {}

REALpictureStruct* REALGetPictureMask(REALpictureStruct* picture, unsigned char) {
  if (picture->mask) rehearsal::Retain(picture->mask);
  return picture->mask;
}

int GetPictureWidth(REALpictureStruct* picture) { return picture ? picture->width : 0; }
int GetPictureHeight(REALpictureStruct* picture) { return picture ? picture->height : 0; }
bool PictureHasAlphaChannel(REALpictureStruct* picture) { return picture && picture->hasAlpha; }
REALpictureStruct* ConvertToPictureWithMask(REALpictureStruct*, int, int) { return nullptr; }
bool GraphicsDrawPicture(REALpictureStruct*, REALpictureStruct*, int, int, int, int, int, int, int, int) {
  return false;
}

void RaiseException(char const*, char const*, unsigned long) {}

}  // namespace pixmorph
