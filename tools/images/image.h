#ifndef PIXMORPH_TOOLS_IMAGES_IMAGE_H_
#define PIXMORPH_TOOLS_IMAGES_IMAGE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tools/parsing/geometry.h"

namespace tool {

// A picture between file and runtime: rows from the top, 0xAARRGGBB, colours not multiplied by alpha.
struct Image {
  Size size;
  bool hasAlpha = false;  // false: every top byte is 0xFF
  std::vector<std::uint32_t> pixels;

  std::size_t PixelCount() const { return pixels.size(); }
};

// Width times height, without overflow for sides up to 32767. [pure]
inline std::size_t PixelCountOf(const Size& size) {
  return static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height);
}

// Throws Failure (kSize), naming the file, when a side is outside the plugin's range. [pure]
void CheckSides(const std::string& name, std::uint64_t width, std::uint64_t height);

// Throws Failure (kMemory) when `bytes` on top of what else the command holds can't be had in 32 bits. [pure]
void CheckMemory(const std::string& what, std::uint64_t bytes);

// CRC-32 of the bytes red, green, blue, alpha of every pixel from the top left on, as eight hexadecimal
// digits: the same for the same picture, whatever file it is written to. [pure]
std::string Checksum(const Image& image);

// The picture laid over white, for files that have no alpha channel. [pure]
Image OverWhite(Image image);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_IMAGES_IMAGE_H_
