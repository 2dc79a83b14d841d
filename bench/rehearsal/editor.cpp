#include "picture/editor.h"

#include "bench/rehearsal/picture.h"

// The editors over pictures in plain memory: no locks, no runtime.
namespace pixmorph {

PictureEditor::~PictureEditor() { PictureEditor::clear(); }
PictureReader::~PictureReader() {}
PictureWriter::~PictureWriter() {}

void PictureEditor::clear() {
  if (picture) rehearsal::Release(picture);
  picture = nullptr;
}

bool PictureEditor::GetPictureEditor(REALpictureStruct* newPicture, signed char, signed char) {
  clear();
  if (!newPicture) return false;
  rehearsal::Retain(newPicture);
  picture = newPicture;
  width = newPicture->width;
  height = newPicture->height;
  pixelType = newPicture->pixelType;
  pixelSize = GetBytesPerPixel();
  rowBytes = newPicture->strideBytes;
  base = row = newPicture->pixels;
  rowIndex = 0;
  hasAlpha = newPicture->hasAlpha;
  return true;
}

bool PictureEditor::GetPictureEditor(REALpictureStruct* newPicture) {
  return GetPictureEditor(newPicture, 1, 1) && pixelType != kPixelRGB24;
}

std::uint8_t* PictureEditor::GetRow(int wanted) {
  rowIndex = wanted;
  return wanted >= height ? base : base + static_cast<std::int64_t>(wanted) * rowBytes;
}

std::uint8_t* PictureEditor::AddPixelRow() { return row = GetRow(rowIndex + 1); }

std::int32_t PictureEditor::GetBytesPerPixel() const { return PixelTypeInfo(pixelType).bytesPerPixel; }

REALpictureStruct* PictureEditor::RenderPictureWriter() {
  REALpictureStruct* result = picture;
  picture = nullptr;
  return result;
}

bool PictureWriter::NewPictureWriter(int newWidth, int newHeight) {
  if (newWidth < 1 || newHeight < 1 || newWidth > 32767 || newHeight > 32767) return false;
  rehearsal::Picture* made = rehearsal::NewPicture(newWidth, newHeight, rehearsal::gNewPictureType);
  const bool ready = made && GetPictureEditor(made, 0, 1);
  if (made) rehearsal::Release(made);
  return ready;
}

bool PictureWriter::NewPictureWriter(const PictureReader& reader, int newWidth, int newHeight) {
  const std::int32_t plain = rehearsal::gNewPictureType;
  if (reader.hasAlpha) rehearsal::gNewPictureType = kPixelCairoAlpha32;
  const bool ready = NewPictureWriter(newWidth, newHeight);
  rehearsal::gNewPictureType = plain;
  return ready;
}

}  // namespace pixmorph
