#pragma once

#include <cstdint>
#include <vector>

#include "standin/internal/object.h"
#include "standin/internal/pixel_rows.h"
#include "standin/picture.h"

namespace standin {

class PictureObject : public Object {
 public:
  // A bare instance: 0 × 0, without pixels, until Construct.
  PictureObject() : Object(FindClass("Picture")) {}
  // Throws std::runtime_error when the store cannot be had.
  void Construct(int newWidth, int newHeight, bool withAlpha, const StoreOptions& store);
  void Dispose() override;

  bool InMemory() const { return !rows.Empty(); }
  bool Constructed() const { return width > 0; }
  // The top byte of a pixel that the runtime itself stores here.
  std::uint32_t OpaqueTop() const { return options.store == Store::kCairo ? 0xFF000000u : 0u; }
  void Read(std::uint32_t* pixels) const;
  void Write(const std::uint32_t* pixels);
  // The same for a rectangle inside the picture.
  void WriteRectangle(int x, int y, int w, int h, const std::uint32_t* pixels);

  // What a granted lock hands out: a cairo context, the pixmap, or the bitmap record.
  void* Handle(int kind);
  // Called when the last lock ends: handles become void.
  void VoidHandles();

  std::int32_t width = 0;
  std::int32_t height = 0;
  bool alpha = false;
  StoreOptions options;
  PixelRows rows;
  void* pixmap = nullptr;
  Kept mask;
  int clearCaches = 0;

 private:
  void* CairoContext();
  void* BitmapRecord();

  void* surface_ = nullptr;
  void* context_ = nullptr;
  std::vector<std::uint32_t> record_;
  std::vector<std::uint8_t*> table_;  // the row table that the record shows
};

class GraphicsObject : public Object {
 public:
  explicit GraphicsObject(PictureObject* target) : Object(FindClass("Graphics")) { picture.Set(target); }
  void Dispose() override { picture.Set(nullptr); }
  Kept picture;
};

constexpr int kGdkKind = 6;
constexpr int kBitmapKind = 10;
constexpr int kCairoKind = 12;

inline PictureObject* AsPicture(const void* handle, const char* user) {
  return Objects().As<PictureObject>(handle, user);
}

// A picture over the memory that the configuration prescribes.
PictureObject* MakePicture(int width, int height, bool alpha, const StoreOptions& options);
StoreOptions MaskStore();

}  // namespace standin
