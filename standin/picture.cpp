#include "standin/picture.h"

#include "standin/internal/picture_object.h"
#include "standin/internal/state.h"

namespace standin {
namespace {

PictureObject* Picture(const Ref& picture) { return AsPicture(picture.Get(), "the test"); }

Store UsualStore() {
  switch (CurrentConfig().mode) {
    case Mode::kConsole:
      return Store::kBitmap;
    case Mode::kGdk:
      return Store::kGdk;
    case Mode::kCairo:
      break;
  }
  return Store::kCairo;
}

}  // namespace

StoreOptions DefaultStore(bool alpha) {
  const Config& config = CurrentConfig();
  const auto& chosen = alpha ? config.newAlphaPictures : config.newPictures;
  if (chosen) return *chosen;
  StoreOptions options;
  options.store = UsualStore();
  if (alpha && options.store == Store::kGdk) options.store = Store::kCairo;
  return options;
}

StoreOptions MaskStore() { return CurrentConfig().newMasks.value_or(DefaultStore(false)); }

Ref NewPicture(int width, int height) { return NewPicture(width, height, DefaultStore(false)); }
Ref NewPicture(int width, int height, const StoreOptions& options) {
  return Ref::Adopt(MakePicture(width, height, false, options));
}
Ref NewAlphaPicture(int width, int height) { return NewAlphaPicture(width, height, DefaultStore(true)); }
Ref NewAlphaPicture(int width, int height, const StoreOptions& options) {
  return Ref::Adopt(MakePicture(width, height, true, options));
}

int Width(const Ref& picture) { return Picture(picture)->width; }
int Height(const Ref& picture) { return Picture(picture)->height; }
bool HasAlpha(const Ref& picture) { return Picture(picture)->alpha; }
Store StoreOf(const Ref& picture) { return Picture(picture)->options.store; }
int LockCount(const Ref& picture) { return Picture(picture)->lockCount; }
int ClearCacheCount(const Ref& picture) { return Picture(picture)->clearCaches; }

std::vector<std::uint32_t> GetPixels(const Ref& picture) {
  const PictureObject* object = Picture(picture);
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(object->width) *
                                    static_cast<std::size_t>(object->height));
  object->Read(pixels.data());
  return pixels;
}

void SetPixels(const Ref& picture, const std::uint32_t* pixels) { Picture(picture)->Write(pixels); }

std::uint8_t* RowAddress(const Ref& picture, int row) {
  const PictureObject* object = Picture(picture);
  return object->InMemory() ? object->rows.Row(row) : nullptr;
}

bool PaddingIntact(const Ref& picture) { return Picture(picture)->rows.PaddingIntact(); }

Ref MaskOf(const Ref& picture) { return Ref::Retain(Picture(picture)->mask.Get()); }
void SetMask(const Ref& picture, const Ref& mask) {
  Picture(picture)->mask.Set(mask ? Picture(mask) : nullptr);
}

}  // namespace standin
