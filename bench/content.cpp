#include "bench/content.h"

#include <cstddef>

namespace bench {

namespace {

std::uint32_t Grey(std::uint32_t value) { return value * 0x010101u; }

// Random numbers that depend on the seed and on what was asked before.
class Noise {
 public:
  explicit Noise(std::uint32_t seed) : state_(seed * 2654435761u + 1) {}
  std::uint32_t Next() { return state_ = state_ * 1664525u + 1013904223u; }

 private:
  std::uint32_t state_;
};

std::uint32_t PhotographPixel(int x, int y, int width, int height, std::uint32_t noise) {
  const auto red = static_cast<std::uint32_t>(x * 190 / width) + (noise >> 28);
  const auto green = static_cast<std::uint32_t>(y * 190 / height) + (noise >> 24 & 15);
  const auto blue = static_cast<std::uint32_t>((x + y) / 8 % 200) + (noise >> 20 & 15);
  return red << 16 | green << 8 | blue;
}

// Glyphs of 8 x 14 pixels, with strokes of two pixels and room between lines, on panels of 400 x 300.
std::uint32_t ScreenPixel(int x, int y) {
  constexpr std::uint32_t kPanels[3][2] = {{0xFFFFFF, 0x202020}, {0x2B2B2B, 0xD0D0D0}, {0xF0F0F0, 0x0645AD}};
  const auto& panel = kPanels[(x / 400 + y / 300) % 3];
  Noise glyph(static_cast<std::uint32_t>(x / 8 + y / 14 * 7919));
  const int stroke = x % 8 / 2 + y % 14 / 2 * 4;
  const bool written = x % 8 < 6 && y % 14 < 10 && (glyph.Next() >> (8 + stroke) & 1) != 0;
  return panel[written ? 1 : 0];
}

}  // namespace

const char* NameOf(Content content) {
  constexpr const char* kNames[kContentCount] = {"photograph", "noise", "flat", "screen", "checks"};
  return kNames[static_cast<int>(content)];
}

void FillPicture(std::uint32_t* pixels, int width, int height, Content content, std::uint32_t seed) {
  Noise noise(seed);
  const auto at = [&](int x, int y) -> std::uint32_t {
    switch (content) {
      case Content::kNoise:
        return noise.Next() >> 8;
      case Content::kFlat:
        return 0x3F7FC8;
      case Content::kScreen:
        return ScreenPixel(x, y);
      case Content::kChecks:
        return Grey((x / 7 + y / 5) % 2 != 0 ? 255 : 0);
      default:
        return PhotographPixel(x, y, width, height, noise.Next());
    }
  };
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) *pixels++ = at(x, y);
}

Bitmap::Bitmap(int w, int h, std::uint32_t seed, Content content)
    : width(w), height(h), pixels(std::size_t(w) * std::size_t(h)) {
  FillPicture(pixels.data(), w, h, content, seed);
}

}  // namespace bench
