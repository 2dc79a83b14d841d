#include "picture/editor.h"

#include <cassert>

#include "host/services.h"
#include "picture/locks.h"
#include "picture/toolkit.h"
#include "support/numeric.h"
#include "support/owned.h"

namespace pixmorph {

// Out of line, so that the three virtual tables are built here once.
PictureEditor::~PictureEditor() { clear(); }
PictureReader::~PictureReader() = default;
PictureWriter::~PictureWriter() = default;

void PictureEditor::clear() {
  if (pixbuf && _gdk_pixbuf_unref) _gdk_pixbuf_unref(pixbuf);
  pixbuf = nullptr;
  if (locked) UnlockThePicture(this, picture);
  locked = false;
  if (forWriting && picture) REALPictureClearCache(picture);
  if (forWriting && surface && _cairo_surface_mark_dirty) _cairo_surface_mark_dirty(surface);
  surface = nullptr;
  PictureRef::Adopt(picture).Release();
  picture = nullptr;
  FreeMemoryNow(buffer);
  buffer = nullptr;
}

void PictureEditor::setPicture(REALpictureStruct* newPicture) {
  PictureRef retained = PictureRef::Retain(newPicture);
  PictureRef::Adopt(picture).Release();
  picture = retained.Detach();
}

std::uint8_t* PictureEditor::GetRow(int wanted) {
  assert(wanted >= 0);
  rowIndex = wanted;
  if (wanted >= height) return base;
  if (pixelType == kPixelHostRGB32) return rowTable[wanted];
  return base + static_cast<std::size_t>(wanted) * static_cast<std::size_t>(rowBytes);
}

std::uint8_t* PictureEditor::AddPixelRow() {
  row = GetRow(rowIndex + 1);
  return row;
}

std::int32_t PictureEditor::GetBytesPerPixel() const { return PixelTypeInfo(pixelType).bytesPerPixel; }
std::int32_t PictureEditor::GetRedOffset() const { return PixelTypeInfo(pixelType).redOffset; }
std::int32_t PictureEditor::GetGreenOffset() const { return PixelTypeInfo(pixelType).greenOffset; }
std::int32_t PictureEditor::GetBlueOffset() const { return PixelTypeInfo(pixelType).blueOffset; }

void PictureEditor::StartAt(std::uint8_t* firstRow, std::int32_t newWidth, std::int32_t newHeight,
                            std::int32_t newRowBytes) {
  base = row = firstRow;
  rowIndex = 0;
  width = newWidth;
  height = newHeight;
  rowBytes = newRowBytes;
}

bool PictureEditor::NewPictureWriterLinux(int newWidth, int newHeight) {
  clear();
  if (newWidth < 1 || newHeight < 1) return false;
  const std::int64_t newRowBytes = ByteSize(newWidth).Times(3).Bytes();
  // One row more than the picture has: a writer's position after its last row is still inside.
  const std::int64_t bytes = ByteSize(newHeight).Plus(1).Times(newRowBytes).Bytes();
  buffer = static_cast<std::uint8_t*>(AllocateClearMemory(bytes));
  if (!buffer) return false;
  pixelType = kPixelRGB24;
  pixelSize = 3;
  StartAt(buffer, newWidth, newHeight, static_cast<std::int32_t>(newRowBytes));
  return true;
}

REALpictureStruct* PictureEditor::BuildFromBuffer() {
  std::uint8_t* const handedOver = buffer;
  // Given up before the call: a runtime that throws may have taken the buffer over already.
  buffer = nullptr;
  REALpictureStruct* built = nullptr;
  if (!REALBuildPictureFromBufferIfPresent(width, height, kBufferRGB24, handedOver, rowBytes, &built)) {
    FreeMemoryNow(handedOver);
  }
  return built;
}

REALpictureStruct* PictureEditor::RenderPictureWriter() {
  PictureRef result;
  if (picture) {
    result = PictureRef::Retain(picture);
    REALPictureClearCache(picture);
    if (surface && _cairo_surface_mark_dirty) _cairo_surface_mark_dirty(surface);
  } else if (buffer) {
    result = PictureRef::Adopt(BuildFromBuffer());
  }
  clear();
  return result.Detach();
}

}  // namespace pixmorph
