#include "host/services.h"
#include "picture/editor.h"
#include "picture/utilities.h"
#include "support/owned.h"

namespace pixmorph {

bool PictureWriter::Reach(REALpictureStruct* target, int newWidth, int newHeight) {
  if (!GetPictureEditor(target, 0, 1)) return false;
  if (pixelType == kPixelRGB24 || (width >= newWidth && height >= newHeight)) return true;
  clear();
  return false;
}

bool PictureWriter::LeaveCopy(int newWidth, int newHeight) {
  return pixelType != kPixelRGB24 || NewPictureWriterLinux(newWidth, newHeight);
}

bool PictureWriter::WriteInto(REALpictureStruct* made, int newWidth, int newHeight) {
  if (!made) clear();
  return made && Reach(made, newWidth, newHeight) && LeaveCopy(newWidth, newHeight);
}

bool PictureWriter::NewPictureWriter(int newWidth, int newHeight) {
  const PictureRef made = PictureRef::Adopt(pixmorph::NewPicture(newWidth, newHeight, 0));
  return WriteInto(made.Get(), newWidth, newHeight);
}

bool PictureWriter::NewPictureWriterWithAlphaChannel(int newWidth, int newHeight) {
  const PictureRef made = PictureRef::Adopt(NewPictureWithAlphaChannel(newWidth, newHeight));
  return WriteInto(made.Get(), newWidth, newHeight);
}

bool PictureWriter::NewPictureWriter(const PictureReader& reader, int newWidth, int newHeight) {
  return reader.hasAlpha ? NewPictureWriterWithAlphaChannel(newWidth, newHeight)
                         : NewPictureWriter(newWidth, newHeight);
}

bool PictureWriter::NewPictureWriter(const PictureWriter& other) {
  return other.hasAlpha ? NewPictureWriterWithAlphaChannel(other.width, other.height)
                        : NewPictureWriter(other.width, other.height);
}

bool PictureWriter::NewPictureWriter(const PictureReader& other) {
  return NewPictureWriter(other, other.width, other.height);
}

bool PictureWriter::NewPictureWriter(int newWidth, int newHeight, signed char alpha) {
  if (alpha && NewPictureWriterWithAlphaChannel(newWidth, newHeight)) return true;
  return NewPictureWriter(newWidth, newHeight);
}

bool PictureWriter::NewPictureWriter(REALpictureStruct* existing, int newWidth, int newHeight) {
  const bool large =
      existing && GetPictureWidth(existing) >= newWidth && GetPictureHeight(existing) >= newHeight;
  if (large && Reach(existing, newWidth, newHeight)) return LeaveCopy(newWidth, newHeight);
  return NewPictureWriter(newWidth, newHeight);
}

}  // namespace pixmorph
