#include "host/services.h"

#include <cstdlib>

#include "bench/rehearsal/picture.h"
#include "picture/pixel_format.h"
#include "picture/utilities.h"
#include "support/exceptions.h"

// The few runtime services and picture utilities that the operations need, over pictures in plain memory.
namespace rehearsal {

std::int32_t gNewPictureType = pixmorph::kPixelHostRGB32;
void (*gOnYield)(void* context) = nullptr;
void* gOnYieldContext = nullptr;

namespace {

// Memory of the last dropped pictures, for the next ones of the same size: pages stay mapped from run to run,
// so that what is measured is the method and not the kernel's page faults.
struct Spare {
  std::size_t bytes;
  std::uint8_t* pixels;
};
Spare gSpares[8];
int gNextSpare = 0;

std::uint8_t* TakePixels(std::size_t bytes) {
  for (Spare& spare : gSpares)
    if (spare.pixels && spare.bytes == bytes) {
      std::uint8_t* pixels = spare.pixels;
      spare.pixels = nullptr;
      return pixels;
    }
  return static_cast<std::uint8_t*>(std::calloc(1, bytes));
}

void GivePixels(std::uint8_t* pixels, std::size_t bytes) {
  Spare& spare = gSpares[gNextSpare++ % 8];
  std::free(spare.pixels);
  spare = {bytes, pixels};
}

std::size_t PixelBytes(int height, int stride) {
  return static_cast<std::size_t>(height) * static_cast<std::size_t>(stride);
}

}  // namespace

Picture* NewPicture(int width, int height, std::int32_t pixelType) {
  const int stride = width * pixmorph::PixelTypeInfo(pixelType).bytesPerPixel;
  std::uint8_t* pixels = TakePixels(PixelBytes(height, stride));
  if (!pixels) return nullptr;
  return new Picture{1,      width,  height, pixelType, pixelType == pixmorph::kPixelCairoAlpha32,
                     stride, pixels, nullptr};
}

void Retain(Picture* picture) { ++picture->references; }

void Release(Picture* picture) {
  if (--picture->references > 0) return;
  if (picture->mask) Release(picture->mask);
  GivePixels(picture->pixels, PixelBytes(picture->height, picture->strideBytes));
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
void REALYieldToRB() {
  if (rehearsal::gOnYield) rehearsal::gOnYield(rehearsal::gOnYieldContext);
}

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
