#include "tools/images/image.h"

#include <zlib.h>

#include <array>
#include <cstdio>

#include "tools/failure.h"

namespace tool {
namespace {

// What a 32-bit process can have in all, less room for the program, its libraries and fragmentation.
constexpr std::uint64_t kUsableBytes = 3000ull << 20;
constexpr std::uint32_t kChannelMask = 0xFF;

std::uint32_t BlendOverWhite(std::uint32_t channel, std::uint32_t alpha) {
  return (channel * alpha + 255 * (255 - alpha) + 127) / 255;
}

}  // namespace

void CheckSides(const std::string& name, std::uint64_t width, std::uint64_t height) {
  if (width >= kSmallestSide && width <= kLargestSide && height >= kSmallestSide && height <= kLargestSide)
    return;
  throw Failure(Exit::kSize,
                name + " is " + std::to_string(width) + "x" + std::to_string(height) +
                    " pixels: a side must lie between 1 and 32767; cut or reduce it with another tool "
                    "first");
}

void CheckMemory(const std::string& what, std::uint64_t bytes) {
  if (bytes <= kUsableBytes) return;
  const std::uint64_t mebibyte = 1u << 20;
  throw Failure(Exit::kMemory, what + " needs " + std::to_string((bytes + mebibyte - 1) / mebibyte) +
                                   " MiB and a 32-bit process has about " +
                                   std::to_string(kUsableBytes / mebibyte) +
                                   ": take a smaller picture or a smaller --size");
}

std::string Checksum(const Image& image) {
  std::array<Bytef, 4096> block;
  uLong crc = crc32(0, nullptr, 0);
  std::size_t used = 0;
  for (const std::uint32_t pixel : image.pixels) {
    for (const int shift : {16, 8, 0, 24}) block[used++] = static_cast<Bytef>(pixel >> shift & kChannelMask);
    if (used < block.size()) continue;
    crc = crc32(crc, block.data(), static_cast<uInt>(used));
    used = 0;
  }
  crc = crc32(crc, block.data(), static_cast<uInt>(used));
  char text[9];
  std::snprintf(text, sizeof text, "%08lx", crc);
  return text;
}

Image OverWhite(Image image) {
  if (!image.hasAlpha) return image;
  for (std::uint32_t& pixel : image.pixels) {
    const std::uint32_t alpha = pixel >> 24;
    std::uint32_t blended = 0xFF000000;
    for (const int shift : {16, 8, 0})
      blended |= BlendOverWhite(pixel >> shift & kChannelMask, alpha) << shift;
    pixel = blended;
  }
  image.hasAlpha = false;
  return image;
}

}  // namespace tool
