#ifndef PIXMORPH_TOOLS_PARSING_GEOMETRY_H_
#define PIXMORPH_TOOLS_PARSING_GEOMETRY_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

// Sides that the plugin's pictures can have, in pixels.
constexpr std::int32_t kSmallestSide = 1;
constexpr std::int32_t kLargestSide = 32767;

struct Size {
  std::int32_t width = 0;
  std::int32_t height = 0;
};
inline bool operator==(const Size& a, const Size& b) { return a.width == b.width && a.height == b.height; }

// Such as "640x480".
std::string ToText(const Size& size);

// A wanted size as people type it: `800x600` (exactly), `800x` or `800` and `x600` (the other side follows),
// `50%` or `12.5%`. A final `>` never enlarges a side, a final `<` never shrinks one.
class Geometry {
 public:
  // Throws Failure (kUsage when it can't be understood, kSize when a side is outside the range). [pure]
  static Geometry Parse(std::string_view text);

  // The size for one source. A side that follows is rounded to the nearest pixel and at least 1. Throws
  // Failure (kSize) when a side leaves the range. [pure]
  Size For(const Size& source) const;

 private:
  enum class Limit { kNone, kOnlyShrink, kOnlyEnlarge };

  std::int32_t Limited(std::int32_t wanted, std::int32_t source) const;

  std::string text_;
  std::int32_t width_ = 0;   // 0: follows
  std::int32_t height_ = 0;  // 0: follows
  double percent_ = 0;       // 0: not a percentage
  Limit limit_ = Limit::kNone;
};

// "X,Y" in pixels, fractions and negative values allowed. Throws Failure (kUsage). [pure]
struct Position {
  double x = 0;
  double y = 0;
};
Position ParsePosition(std::string_view text);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_PARSING_GEOMETRY_H_
