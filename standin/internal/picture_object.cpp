#include "standin/internal/picture_object.h"

#include <cstddef>
#include <cstring>
#include <stdexcept>

#include "standin/faults.h"
#include "standin/internal/gdk_pixmap.h"
#include "standin/internal/state.h"
#include "standin/internal/toolkit.h"

namespace standin {
namespace {

// Where a bitmap record keeps what, in 32-bit words.
constexpr std::size_t kWidthWord = 1;
constexpr std::size_t kHeightWord = 2;
constexpr std::size_t kPresentWord = 1806;
constexpr std::size_t kTableWord = 1807;
constexpr std::size_t kRecordWords = 1808;
// Shown once a lock has ended; an address that nothing can be read at.
constexpr std::uintptr_t kVoidAddress = 0x40;

// What the plugin takes for a picture's lock count. Objects have a virtual table, but no base and no layout
// but this.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(offsetof(Object, lockCount) == 12);
#pragma GCC diagnostic pop

}  // namespace

void PictureObject::Construct(int newWidth, int newHeight, bool withAlpha, const StoreOptions& store) {
  static_assert(sizeof(void*) == 4, "the plugin's world has 32-bit words");
  options = store;
  if (withAlpha && options.store == Store::kGdk) options.store = Store::kCairo;
  if (options.store != Store::kBitmap) {
    options.scrambledRows = false;
    if (options.guard == Guard::kRows) options.guard = Guard::kPicture;
  }
  alpha = withAlpha;
  if (options.store == Store::kGdk) {
    pixmap = NewPixmap(newWidth, newHeight);
  } else {
    rows.Allocate(newWidth, newHeight, options);
  }
  width = newWidth;
  height = newHeight;
  if (options.store == Store::kCairo) {
    surface_ = Cairo().image_surface_create_for_data(rows.First(), alpha ? kCairoArgb32 : kCairoRgb24, width,
                                                     height, rows.StrideBytes());
    if (Cairo().surface_status(surface_) != 0) throw std::runtime_error("cairo refused a surface");
  }
}

void PictureObject::Dispose() {
  mask.Set(nullptr);
  VoidHandles();
  if (surface_ != nullptr) Cairo().surface_destroy(surface_);
  surface_ = nullptr;
  if (pixmap != nullptr) FreePixmap(pixmap);
  pixmap = nullptr;
  rows.Free();
  // Released pictures are remembered, their memory is not.
  decltype(record_)().swap(record_);
  decltype(table_)().swap(table_);
}

void PictureObject::Read(std::uint32_t* pixels) const {
  if (pixmap != nullptr) return ReadPixmap(pixmap, width, height, pixels);
  for (int y = 0; y < height; ++y, pixels += width) {
    std::memcpy(pixels, rows.Row(y), static_cast<std::size_t>(width) * 4);
  }
}

void PictureObject::Write(const std::uint32_t* pixels) { WriteRectangle(0, 0, width, height, pixels); }

void PictureObject::WriteRectangle(int x, int y, int w, int h, const std::uint32_t* pixels) {
  if (pixmap != nullptr) return WritePixmap(pixmap, x, y, w, h, pixels);
  for (int row = y; row < y + h; ++row, pixels += w) {
    std::memcpy(rows.Row(row) + x * 4, pixels, static_cast<std::size_t>(w) * 4);
  }
}

void* PictureObject::Handle(int kind) {
  if (kind == kGdkKind) return pixmap;
  return kind == kCairoKind ? CairoContext() : BitmapRecord();
}

void* PictureObject::CairoContext() {
  if (context_ == nullptr) context_ = Cairo().create(surface_);
  return context_;
}

void* PictureObject::BitmapRecord() {
  record_.assign(kRecordWords, 0);
  table_.assign(rows.Table(), rows.Table() + height);
  record_[kWidthWord] = static_cast<std::uint32_t>(width);
  record_[kHeightWord] = static_cast<std::uint32_t>(height);
  record_[kPresentWord] = 1;
  record_[kTableWord] = reinterpret_cast<std::uintptr_t>(table_.data());
  switch (OrderedFaults().bitmapFault) {
    case BitmapFault::kNone:
      break;
    case BitmapFault::kWord0:
      record_[0] = 1;
      break;
    case BitmapFault::kWord1806:
      record_[kPresentWord] = 0;
      break;
    case BitmapFault::kRowTable:
      record_[kTableWord] = 0;
      break;
  }
  return record_.data();
}

void PictureObject::VoidHandles() {
  if (context_ != nullptr) Cairo().destroy(context_);
  context_ = nullptr;
  for (auto& row : table_) row = reinterpret_cast<std::uint8_t*>(kVoidAddress);
  if (!record_.empty()) record_[kTableWord] = kVoidAddress;
}

PictureObject* MakePicture(int width, int height, bool alpha, const StoreOptions& options) {
  auto* picture = new PictureObject;
  try {
    picture->Construct(width, height, alpha, options);
  } catch (...) {
    Objects().Release(picture, Holder::kPlugin, "a picture that could not be made");
    throw;
  }
  return picture;
}

}  // namespace standin
