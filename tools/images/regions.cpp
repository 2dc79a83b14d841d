#include "tools/images/regions.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace tool {
namespace {

// How much neighbouring pixels differ in a square with the given corner, over every second pixel.
int Detail(const Image& image, const Corner& corner, std::int32_t side) {
  const auto green = [&image](std::int32_t x, std::int32_t y) {
    return static_cast<int>(image.pixels[static_cast<std::size_t>(y * image.size.width + x)] >> 8 & 0xFF);
  };
  int sum = 0;
  for (std::int32_t y = corner.y; y < corner.y + side - 1; y += 2) {
    for (std::int32_t x = corner.x; x < corner.x + side - 1; x += 2)
      sum += std::abs(green(x, y) - green(x + 1, y)) + std::abs(green(x, y) - green(x, y + 1));
  }
  return sum;
}

}  // namespace

Corner BusiestSquare(const Image& image, std::int32_t side) {
  Corner best;
  int most = -1;
  const std::int32_t step = std::max(1, side / 6);
  for (std::int32_t y = 0; y + side <= image.size.height; y += step) {
    for (std::int32_t x = 0; x + side <= image.size.width; x += step) {
      const int detail = Detail(image, {x, y}, side);
      if (detail <= most) continue;
      most = detail;
      best = {x, y};
    }
  }
  return best;
}

std::int32_t FittingSide(const Image& image, std::int32_t side) {
  return std::min({side, image.size.width, image.size.height});
}

Image Cropped(const Image& image, const Corner& corner, std::int32_t side) {
  Image crop;
  crop.size = {side, side};
  for (std::int32_t y = 0; y < side; ++y) {
    const auto row = image.pixels.begin() + std::ptrdiff_t{corner.y + y} * image.size.width + corner.x;
    crop.pixels.insert(crop.pixels.end(), row, row + side);
  }
  return crop;
}

Image Faded(Image image) {
  image.hasAlpha = true;
  std::size_t at = 0;
  for (std::int32_t y = 0; y < image.size.height; ++y) {
    for (std::int32_t x = 0; x < image.size.width; ++x, ++at) {
      const double u = (2.0 * x + 1) / image.size.width - 1;
      const double v = (2.0 * y + 1) / image.size.height - 1;
      const double shown = std::clamp((1 - std::sqrt(u * u + v * v)) * 4, 0.0, 1.0);
      image.pixels[at] = (image.pixels[at] & 0xFFFFFF) | static_cast<std::uint32_t>(shown * 255 + 0.5) << 24;
    }
  }
  return image;
}

}  // namespace tool
