#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "standin/faults.h"
#include "standin/internal/gdk_pixmap.h"
#include "standin/internal/picture_object.h"
#include "standin/internal/service.h"
#include "standin/internal/state.h"
#include "standin/ledger.h"

namespace standin {
namespace {

// The record that a lock fills in.
struct Description {
  std::int32_t kind;
  void* data;
  std::int32_t width;
  std::int32_t height;
  std::int32_t internalWord;
  std::uint8_t internalByte;
};
static_assert(sizeof(Description) == 24);

// From here on a refused lock counts for nothing; before, it has to be undone.
constexpr double kRefusedLocksAreVoid = 2012.0;
constexpr int kPixelTypeRgb24 = 1;

bool Grants(const PictureObject& picture, int kind) {
  if (!picture.Constructed()) return false;
  const bool console = CurrentConfig().mode == Mode::kConsole;
  switch (picture.options.store) {
    case Store::kBitmap:
      return kind == kBitmapKind;
    case Store::kCairo:
      return kind == kCairoKind && !console;
    case Store::kGdk:
      return kind == kGdkKind && !console;
    case Store::kRefusing:
      return false;
  }
  return false;
}

int Refuse(PictureObject* picture) {
  if (!VersionAtLeast(kRefusedLocksAreVoid)) ++picture->lockCount;
  return HostBoolean(false);
}

int LockDescription(void* handle, Description* description, int kind) {
  PictureObject* picture = AsPicture(handle, "REALLockPictureDescription");
  if (description == nullptr) StopRun("REALLockPictureDescription was given no description");
  const bool fault = StrikesLock();
  const LockFault what = OrderedFaults().lockFault;
  if ((fault && what == LockFault::kRefused) || !Grants(*picture, kind)) return Refuse(picture);
  ++picture->lockCount;
  if (fault && what == LockFault::kGrantedNothing) return HostBoolean(true);
  void* data = fault && what == LockFault::kNullData ? nullptr : picture->Handle(kind);
  const int shown = fault && what == LockFault::kWrongKind ? kind + 1 : kind;
  *description = {shown, data, picture->width, picture->height, 0x5A5A5A5A, 1};
  return HostBoolean(true);
}

void UnlockDescription(void* handle) {
  PictureObject* picture = AsPicture(handle, "unlockPictureDescription");
  if (picture->lockCount < 1) StopRun("unlockPictureDescription was given a picture that is not locked");
  if (--picture->lockCount == 0) picture->VoidHandles();
}

void ClearCache(void* handle) { ++AsPicture(handle, "REALPictureClearCache")->clearCaches; }

// A store that cannot be had is the set-up's mistake, not a fault that the plugin should live with.
PictureObject* MakeOrStop(int width, int height, bool alpha, const StoreOptions& options) {
  try {
    return MakePicture(width, height, alpha, options);
  } catch (const std::runtime_error& error) {
    StopRun(error.what());
  }
}

void* NewPictureService(int width, int height, int) {
  if (StrikesPicture() || width < 1 || height < 1) return nullptr;
  const int less = StrikesShrink() ? 1 : 0;
  return MakeOrStop(std::max(width - less, 1), std::max(height - less, 1), false, DefaultStore(false));
}

void ConstructPicture(void* handle, int width, int height) {
  PictureObject* picture = AsPicture(handle, "the constructor of Picture");
  if (picture->Constructed()) StopRun("a picture was constructed twice");
  if (width < 1 || height < 1) return;
  const int less = StrikesShrink() ? 1 : 0;
  try {
    picture->Construct(std::max(width - less, 1), std::max(height - less, 1), true, DefaultStore(true));
  } catch (const std::runtime_error& error) {
    StopRun(error.what());
  }
}

void FillFromRgb(PictureObject* picture, const std::uint8_t* rgb, int rowBytes) {
  if (picture->pixmap != nullptr) {
    return WritePixmapRgb(picture->pixmap, picture->width, picture->height, rgb, rowBytes);
  }
  const std::uint32_t top = picture->OpaqueTop();
  for (int y = 0; y < picture->height; ++y) {
    const std::uint8_t* p = rgb + static_cast<std::ptrdiff_t>(y) * rowBytes;
    auto* out = reinterpret_cast<std::uint32_t*>(picture->rows.Row(y));
    for (int x = 0; x < picture->width; ++x, p += 3) {
      out[x] = top | static_cast<std::uint32_t>(p[0] << 16 | p[1] << 8 | p[2]);
    }
  }
}

// Takes the buffer over and frees it at once, also when no picture comes of it.
void* BuildFromBuffer(int width, int height, int pixelType, void* buffer, int rowBytes) {
  const std::unique_ptr<void, void (*)(void*)> owned(buffer, &std::free);
  if (pixelType != kPixelTypeRgb24 || buffer == nullptr || width < 1 || height < 1 || rowBytes < width * 3 ||
      malloc_usable_size(buffer) < static_cast<std::size_t>(rowBytes) * static_cast<std::size_t>(height)) {
    StopRun("REALBuildPictureFromBuffer was given a buffer that does not hold the picture");
  }
  if (StrikesPicture()) return nullptr;
  PictureObject* picture = MakeOrStop(width, height, false, DefaultStore(false));
  FillFromRgb(picture, static_cast<const std::uint8_t*>(buffer), rowBytes);
  return picture;
}

// Pictures with an alpha channel have no mask, and get none.
void* GetMask(void* handle, std::uint8_t create) {
  PictureObject* picture = AsPicture(handle, "REALGetPictureMask");
  if (picture->alpha) return nullptr;
  if (picture->mask.Get() == nullptr && create != 0) {
    PictureObject* made = MakeOrStop(picture->width, picture->height, false, MaskStore());
    picture->mask.Set(made);
    return made;
  }
  Object* mask = picture->mask.Get();
  if (mask != nullptr) Objects().Retain(mask, Holder::kPlugin);
  return mask;
}

void AssignMask(void* handle, void* mask) {
  PictureObject* picture = AsPicture(handle, "Picture.Mask");
  picture->mask.Set(mask == nullptr ? nullptr : AsPicture(mask, "Picture.Mask"));
}

std::vector<std::uint32_t> Pixels(const PictureObject& picture) {
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(picture.width) *
                                    static_cast<std::size_t>(picture.height));
  picture.Read(pixels.data());
  return pixels;
}

// What is transparent hides: grey of 255 minus alpha.
void* CopyMask(void* handle) {
  PictureObject* picture = AsPicture(handle, "Picture.CopyMask");
  auto* mask = static_cast<PictureObject*>(picture->mask.Get());
  if (!picture->alpha && mask == nullptr) return nullptr;
  const PictureObject& from = picture->alpha ? *picture : *mask;
  std::vector<std::uint32_t> pixels = Pixels(from);
  PictureObject* copy = MakeOrStop(from.width, from.height, false, MaskStore());
  for (auto& pixel : pixels) {
    const std::uint32_t colour = picture->alpha ? (255u - (pixel >> 24)) * 0x010101u : pixel & 0xFFFFFFu;
    pixel = copy->OpaqueTop() | colour;
  }
  copy->Write(pixels.data());
  return copy;
}

}  // namespace

void DefinePictureServices() {
  Define<&LockDescription>("REALLockPictureDescription");
  Define<&UnlockDescription>("unlockPictureDescription");
  Define<&ClearCache>("REALPictureClearCache");
  Define<&NewPictureService>("newPicture");
  Define<&BuildFromBuffer>("REALBuildPictureFromBuffer");
  Define<&GetMask>("REALGetPictureMask");
  DefineMethod<&ConstructPicture>("Picture", "Constructor(width as integer, height as integer)");
  DefineMethod<&CopyMask>("Picture", "CopyMask as Picture");
  DefineMethod<&AssignMask>("Picture", "Mask(assigns newMask As Picture)");
}

}  // namespace standin
