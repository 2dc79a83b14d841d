#include "tools/images/generated.h"

#include <algorithm>

namespace tool {
namespace {

std::uint32_t Pixel(std::uint32_t alpha, std::int64_t red, std::int64_t green, std::int64_t blue) {
  const auto channel = [](std::int64_t value) {
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(value, 0, 255));
  };
  return alpha << 24 | channel(red) << 16 | channel(green) << 8 | channel(blue);
}

// Position along the side as 0 to 255.
std::int64_t Part(std::int32_t position, std::int32_t side) { return std::int64_t{position} * 255 / side; }

// A triangle wave of the squared distance, -64 to 64: rings that grow finer outwards. Whole numbers keep the
// picture the same on every machine.
std::int64_t Ring(std::int64_t x, std::int64_t y, std::int64_t span) {
  const std::int64_t phase = (x * x + y * y) * 24 * 256 / (span * span) % 256;
  return (phase < 128 ? phase : 255 - phase) - 64;
}

}  // namespace

Image GeneratedPhoto(const Size& size) {
  Image image{size, false, {}};
  image.pixels.reserve(PixelCountOf(size));
  const std::int64_t span = std::max(size.width, size.height);
  std::uint32_t grain = 1;
  for (std::int32_t y = 0; y < size.height; ++y) {
    for (std::int32_t x = 0; x < size.width; ++x) {
      grain = grain * 1664525u + 1013904223u;
      const std::int64_t light =
          Ring(2 * std::int64_t{x} - size.width, 2 * std::int64_t{y} - size.height, span) + (grain >> 28);
      image.pixels.push_back(Pixel(255, Part(x, size.width) + light, (Part(y, size.height) + 128) / 2 + light,
                                   200 - Part(x + y, size.width + size.height) + light / 2));
    }
  }
  return image;
}

Image GeneratedBadge(std::int32_t side) {
  Image image{{side, side}, true, {}};
  image.pixels.reserve(PixelCountOf(image.size));
  for (std::int32_t y = 0; y < side; ++y) {
    for (std::int32_t x = 0; x < side; ++x) {
      const std::int64_t dx = 2 * std::int64_t{x} + 1 - side;
      const std::int64_t dy = 2 * std::int64_t{y} + 1 - side;
      const std::int64_t inside = 1024 - (dx * dx + dy * dy) * 1024 / (std::int64_t{side} * side);
      const auto alpha = static_cast<std::uint32_t>(std::clamp<std::int64_t>(inside, 0, 255));
      image.pixels.push_back(Pixel(alpha, 255 - Part(y, side) / 2, 120 + Part(x, side) / 2, 40));
    }
  }
  return image;
}

}  // namespace tool
