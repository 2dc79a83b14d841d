#include <png.h>

#include <cerrno>
#include <cstring>

#include "tools/failure.h"
#include "tools/images/formats.h"

namespace tool {
namespace {

// Frees what libpng holds on every path.
struct PngControl : png_image {
  PngControl() : png_image{} { version = PNG_IMAGE_VERSION; }
  ~PngControl() { png_image_free(this); }
  PngControl(const PngControl&) = delete;
  PngControl& operator=(const PngControl&) = delete;
};

[[noreturn]] void Damaged(const std::string& name, const char* message) {
  throw Failure(Exit::kFormat,
                name + " is a damaged PNG file (" + message + "): get a whole copy of it or save it again");
}

std::vector<std::uint8_t> ColourBytes(const Image& image) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(image.PixelCount() * 3);
  for (const std::uint32_t pixel : image.pixels) {
    for (const int shift : {16, 8, 0}) bytes.push_back(static_cast<std::uint8_t>(pixel >> shift));
  }
  return bytes;
}

}  // namespace

bool LooksLikePng(const FileBytes& bytes) {
  return bytes.size() >= 8 && std::memcmp(bytes.data(), "\x89PNG\r\n\x1a\n", 8) == 0;
}

Image DecodePng(const std::string& name, const FileBytes& bytes) {
  PngControl png;
  if (!png_image_begin_read_from_memory(&png, bytes.data(), bytes.size())) Damaged(name, png.message);
  CheckSides(name, png.width, png.height);
  Image image;
  image.size = {static_cast<std::int32_t>(png.width), static_cast<std::int32_t>(png.height)};
  CheckMemory(name, std::uint64_t{PixelCountOf(image.size)} * 4 + bytes.size());
  image.hasAlpha = (png.format & PNG_FORMAT_FLAG_ALPHA) != 0;
  // 16-bit files that don't say otherwise hold the same curve as 8-bit ones.
  png.flags |= PNG_IMAGE_FLAG_16BIT_sRGB;
  png.format = PNG_FORMAT_BGRA;
  image.pixels.resize(PixelCountOf(image.size));
  const auto stride = static_cast<png_int_32>(image.size.width * 4);
  if (!png_image_finish_read(&png, nullptr, image.pixels.data(), stride, nullptr)) Damaged(name, png.message);
  return image;
}

void EncodePng(const std::string& name, std::FILE* file, const Image& image) {
  PngControl png;
  png.width = static_cast<png_uint_32>(image.size.width);
  png.height = static_cast<png_uint_32>(image.size.height);
  png.format = image.hasAlpha ? PNG_FORMAT_BGRA : PNG_FORMAT_RGB;
  const std::vector<std::uint8_t> colours = image.hasAlpha ? std::vector<std::uint8_t>() : ColourBytes(image);
  const void* buffer = image.hasAlpha ? static_cast<const void*>(image.pixels.data()) : colours.data();
  errno = 0;
  if (!png_image_write_to_stdio(&png, file, 0, buffer, 0, nullptr))
    throw Failure(Exit::kOutput, "can't write " + name + ": " + (errno ? std::strerror(errno) : png.message));
}

}  // namespace tool
