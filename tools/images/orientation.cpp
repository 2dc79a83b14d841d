#include "tools/images/orientation.h"

#include <cstring>
#include <utility>

namespace tool {
namespace {

constexpr std::size_t kEntryBytes = 12;
constexpr unsigned kOrientationTag = 0x0112;

// Numbers of a TIFF header, in the byte order that it names. Anything past the end reads as 0.
struct TiffReader {
  const std::uint8_t* data;
  std::size_t length;
  bool bigEndian;

  unsigned Byte(std::size_t at) const { return at < length ? data[at] : 0u; }
  unsigned Word(std::size_t at) const {
    return bigEndian ? Byte(at) << 8 | Byte(at + 1) : Byte(at + 1) << 8 | Byte(at);
  }
  std::size_t Long(std::size_t at) const {
    return bigEndian ? Word(at) << 16 | Word(at + 2) : Word(at + 2) << 16 | Word(at);
  }
};

}  // namespace

int ExifOrientation(const std::uint8_t* data, std::size_t length) {
  constexpr std::size_t kHeaderBytes = 6;
  if (length < kHeaderBytes + 8 || std::memcmp(data, "Exif\0\0", kHeaderBytes) != 0) return 1;
  const TiffReader tiff{data + kHeaderBytes, length - kHeaderBytes, data[kHeaderBytes] == 'M'};
  const std::size_t directory = tiff.Long(4);
  if (directory >= tiff.length) return 1;
  const unsigned entries = tiff.Word(directory);
  for (unsigned i = 0; i < entries; ++i) {
    const std::size_t entry = directory + 2 + i * kEntryBytes;
    if (entry + kEntryBytes > tiff.length) break;
    if (tiff.Word(entry) != kOrientationTag) continue;
    const unsigned value = tiff.Word(entry + 8);
    return value >= 1 && value <= 8 ? static_cast<int>(value) : 1;
  }
  return 1;
}

Image Upright(Image image, int orientation) {
  if (orientation <= 1 || orientation > 8) return image;
  const bool transposed = orientation >= 5;
  const bool fromRight = orientation == 2 || orientation == 3 || orientation == 7 || orientation == 8;
  const bool fromBottom = orientation == 3 || orientation == 4 || orientation == 6 || orientation == 7;
  Image upright;
  upright.hasAlpha = image.hasAlpha;
  upright.size = transposed ? Size{image.size.height, image.size.width} : image.size;
  upright.pixels.reserve(image.PixelCount());
  for (std::int32_t y = 0; y < upright.size.height; ++y) {
    for (std::int32_t x = 0; x < upright.size.width; ++x) {
      const std::int32_t column = transposed ? y : x;
      const std::int32_t row = transposed ? x : y;
      const std::int32_t sourceX = fromRight ? image.size.width - 1 - column : column;
      const std::int32_t sourceY = fromBottom ? image.size.height - 1 - row : row;
      upright.pixels.push_back(
          image.pixels[static_cast<std::size_t>(sourceY) * static_cast<std::size_t>(image.size.width) +
                       static_cast<std::size_t>(sourceX)]);
    }
  }
  return upright;
}

}  // namespace tool
