#include "host/services.h"
#include "picture/editor.h"
#include "picture/locks.h"
#include "picture/toolkit.h"
#include "picture/utilities.h"
#include "support/numeric.h"
#include "support/owned.h"

// How an editor finds the way to a picture's pixels.
namespace pixmorph {

bool IsDesktop = false;
bool IsConsole = false;

namespace {

// Owns the pixbuf that a drawable was copied into until an editor takes it over.
class PixbufOwner {
 public:
  explicit PixbufOwner(void* pixbuf) : pixbuf_(pixbuf) {}
  PixbufOwner(const PixbufOwner&) = delete;
  PixbufOwner& operator=(const PixbufOwner&) = delete;
  ~PixbufOwner() {
    if (pixbuf_) _gdk_pixbuf_unref(pixbuf_);
  }
  void* Get() const { return pixbuf_; }
  void Detach() { pixbuf_ = nullptr; }

 private:
  void* pixbuf_;
};

}  // namespace

void CheckApplication() {
  const bool desktop = REALGetClassRef("Application") != nullptr;
  const bool web = REALGetClassRef("WebApplication") != nullptr;
  const bool console = REALGetClassRef("ConsoleApplication") != nullptr;
  if (desktop) {
    IsDesktop = true;
  } else if (console || web) {
    IsConsole = true;
  }
}

bool PictureEditor::GetPictureEditor(REALpictureStruct* newPicture, signed char forReading,
                                     signed char forWritingToo) {
  clear();
  if (!newPicture) return false;
  forWriting = forWritingToo != 0;
  return SetUp(newPicture, forReading != 0 && !forWriting);
}

bool PictureEditor::GetPictureEditor(REALpictureStruct* newPicture) {
  return GetPictureEditor(newPicture, 1, 1) && pixelType != kPixelRGB24;
}

bool PictureEditor::SetUp(REALpictureStruct* newPicture, bool mayCopy) {
  if (!IsConsole && !IsDesktop) CheckApplication();
  hasAlpha = PictureHasAlphaChannel(newPicture);
  if (!IsConsole) {
    const Attempt attempt = SetUpDesktop(newPicture, mayCopy);
    if (attempt != Attempt::kRefused) return attempt == Attempt::kReady;
  }
  // A desktop picture is never reached as a bitmap: its pixels live elsewhere.
  return !IsDesktop && SetUpHostBitmap(newPicture);
}

PictureEditor::Attempt PictureEditor::SetUpDesktop(REALpictureStruct* newPicture, bool mayCopy) {
  const Attempt cairo = SetUpCairo(newPicture);
  if (cairo != Attempt::kRefused || hasAlpha) return cairo;
  const Attempt drawable = SetUpPixbuf(newPicture);
  if (drawable != Attempt::kRefused || !mayCopy) return drawable;
  return SetUpCopy(newPicture);
}

PictureEditor::Attempt PictureEditor::SetUpCopy(REALpictureStruct* newPicture) {
  const PictureRef copy = PictureRef::Adopt(ClonePicture(newPicture));
  if (!copy) return Attempt::kRefused;
  // The editor's own reference keeps the copy alive. A copy is not copied again.
  return SetUp(copy.Get(), false) ? Attempt::kReady : Attempt::kFailed;
}

PictureEditor::Attempt PictureEditor::SetUpCairo(REALpictureStruct* newPicture) {
  DescriptionLock lock;
  if (!lock.Acquire(newPicture, &description, kDescriptionCairo)) return Attempt::kRefused;
  IsDesktop = true;
  if (!description.data || description.kind != kDescriptionCairo || !LoadCairo()) return Attempt::kFailed;
  void* const target = _cairo_get_target(description.data);
  return target && UseSurface(target, newPicture, lock) ? Attempt::kReady : Attempt::kFailed;
}

bool PictureEditor::UseSurface(void* target, REALpictureStruct* newPicture, DescriptionLock& lock) {
  std::uint8_t* const pixels = _cairo_image_surface_get_data(target);
  const int surfaceWidth = _cairo_image_surface_get_width(target);
  const int surfaceHeight = _cairo_image_surface_get_height(target);
  const int stride = _cairo_image_surface_get_stride(target);
  if (surfaceWidth < 1 || surfaceHeight < 1 || stride < 1 || !pixels) return false;
  Begin(newPicture, lock, hasAlpha ? kPixelCairoAlpha32 : kPixelCairoRGB32);
  surface = target;
  StartAt(pixels, surfaceWidth, surfaceHeight, stride);
  return true;
}

PictureEditor::Attempt PictureEditor::SetUpPixbuf(REALpictureStruct* newPicture) {
  DescriptionLock lock;
  if (!lock.Acquire(newPicture, &description, kDescriptionGdkDrawable)) return Attempt::kRefused;
  IsDesktop = true;
  if (!description.data || description.kind != kDescriptionGdkDrawable || !LoadGTK()) return Attempt::kFailed;
  return UseDrawable(description.data, newPicture, lock) ? Attempt::kReady : Attempt::kFailed;
}

bool PictureEditor::UseDrawable(void* drawable, REALpictureStruct* newPicture, DescriptionLock& lock) {
  if (description.width < 1 || description.height < 1) return false;
  PixbufOwner copy(_gdk_pixbuf_get_from_drawable(nullptr, drawable, nullptr, 0, 0, 0, 0, description.width,
                                                 description.height));
  if (!copy.Get()) return false;
  std::uint8_t* const pixels = _gdk_pixbuf_get_pixels(copy.Get());
  if (!pixels) return false;
  Begin(newPicture, lock, kPixelRGB24);
  pixbuf = copy.Get();
  copy.Detach();
  StartAt(pixels, description.width, description.height, _gdk_pixbuf_get_rowstride(pixbuf));
  return true;
}

bool PictureEditor::SetUpHostBitmap(REALpictureStruct* newPicture) {
  DescriptionLock lock;
  if (!lock.Acquire(newPicture, &description, kDescriptionHostBitmap)) return false;
  IsConsole = true;
  const HostBitmap bitmap = HostBitmap::Of(description);
  if (!bitmap || bitmap.Word(kHostBitmapNonZeroWord) == 0) return false;
  const std::int64_t bytes = ByteSize(description.width).Times(4).Bytes();
  if (description.width < 1 || description.height < 1 || bytes < 0) return false;
  Begin(newPicture, lock, kPixelHostRGB32);
  rowTable = bitmap.RowTable();
  StartAt(rowTable[0], description.width, description.height, static_cast<std::int32_t>(bytes));
  return true;
}

// Takes a reference and the lock over; should the reference fail, the lock is still its owner's.
void PictureEditor::Begin(REALpictureStruct* newPicture, DescriptionLock& lock, std::int32_t type) {
  setPicture(newPicture);
  lock.Detach();
  locked = true;
  pixelType = type;
  pixelSize = type == kPixelRGB24 ? 3 : 4;
}

}  // namespace pixmorph
