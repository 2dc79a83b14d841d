#include "tools/parsing/geometry.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <optional>

#include "tools/failure.h"

namespace tool {
namespace {

std::string_view Trimmed(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

[[noreturn]] void NotAGeometry(const std::string& text) {
  throw Failure(Exit::kUsage, "can't read the size \"" + text +
                                  "\": write 800x600, 800x, x600 or 50%, with > to only shrink or < to only "
                                  "enlarge (in quotes, for the shell's sake)");
}

std::string RangeText() {
  return "a side must lie between " + std::to_string(kSmallestSide) + " and " + std::to_string(kLargestSide) +
         " pixels";
}

// Digits only, so that "-5", "+5", "5.5" and "0x10" are no sides. Anything too long for 64 bits is out of
// range.
std::int32_t ParseSide(std::string_view digits, const std::string& whole) {
  if (digits.empty() || digits.find_first_not_of("0123456789") != digits.npos) NotAGeometry(whole);
  std::int64_t value = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (read.ec != std::errc() || value < kSmallestSide || value > kLargestSide)
    throw Failure(Exit::kSize, "the size \"" + whole + "\" is out of range: " + RangeText());
  return static_cast<std::int32_t>(value);
}

std::optional<double> ParseDouble(std::string_view text) {
  text = Trimmed(text);
  if (!text.empty() && text.front() == '+') text.remove_prefix(1);
  double value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size() || !std::isfinite(value)) return {};
  return value;
}

// Where "800x600" is parted, and how long the mark is; the multiplication sign counts as an x.
std::pair<std::size_t, std::size_t> FindTimes(std::string_view text) {
  const std::size_t letter = text.find_first_of("xX");
  if (letter != text.npos) return {letter, 1};
  constexpr std::string_view kTimesSign = "\xC3\x97";
  return {text.find(kTimesSign), kTimesSign.size()};
}

std::int32_t ScaledSide(double side, double factor, const std::string& geometry) {
  const double scaled = std::floor(side * factor + 0.5);
  if (scaled > kLargestSide)
    throw Failure(Exit::kSize, "the size \"" + geometry + "\" makes a side of more than " +
                                   std::to_string(kLargestSide) + " pixels here: " + RangeText());
  return std::max(kSmallestSide, static_cast<std::int32_t>(scaled));
}

}  // namespace

std::string ToText(const Size& size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

Geometry Geometry::Parse(std::string_view text) {
  Geometry geometry;
  std::string_view rest = Trimmed(text);
  geometry.text_ = std::string(rest);
  if (!rest.empty() && (rest.back() == '>' || rest.back() == '<')) {
    geometry.limit_ = rest.back() == '>' ? Limit::kOnlyShrink : Limit::kOnlyEnlarge;
    rest = Trimmed(rest.substr(0, rest.size() - 1));
  }
  if (!rest.empty() && rest.back() == '%') {
    const std::optional<double> percent = ParseDouble(rest.substr(0, rest.size() - 1));
    if (!percent) NotAGeometry(geometry.text_);
    if (*percent <= 0)
      throw Failure(Exit::kSize,
                    "the size \"" + geometry.text_ + "\" is out of range: a percentage is above 0");
    geometry.percent_ = *percent;
    return geometry;
  }
  const auto [mark, markLength] = FindTimes(rest);
  const std::string_view left = Trimmed(rest.substr(0, mark));
  const std::string_view right =
      mark == rest.npos ? std::string_view() : Trimmed(rest.substr(mark + markLength));
  if (left.empty() && right.empty()) NotAGeometry(geometry.text_);
  if (!left.empty()) geometry.width_ = ParseSide(left, geometry.text_);
  if (!right.empty()) geometry.height_ = ParseSide(right, geometry.text_);
  return geometry;
}

std::int32_t Geometry::Limited(std::int32_t wanted, std::int32_t source) const {
  if (limit_ == Limit::kOnlyShrink) return std::min(wanted, source);
  if (limit_ == Limit::kOnlyEnlarge) return std::max(wanted, source);
  return wanted;
}

Size Geometry::For(const Size& source) const {
  const double width = source.width;
  const double height = source.height;
  if (width_ > 0 && height_ > 0) return {Limited(width_, source.width), Limited(height_, source.height)};
  const double factor = percent_ > 0 ? percent_ / 100 : width_ > 0 ? width_ / width : height_ / height;
  // Both sides go one way, so the limit is decided before a side could leave the range for nothing.
  if ((limit_ == Limit::kOnlyShrink && factor >= 1) || (limit_ == Limit::kOnlyEnlarge && factor <= 1))
    return source;
  return {width_ > 0 ? width_ : ScaledSide(width, factor, text_),
          height_ > 0 ? height_ : ScaledSide(height, factor, text_)};
}

Position ParsePosition(std::string_view text) {
  const std::size_t comma = text.find(',');
  if (comma != text.npos) {
    const std::optional<double> x = ParseDouble(text.substr(0, comma));
    const std::optional<double> y = ParseDouble(text.substr(comma + 1));
    if (x && y) return {*x, *y};
  }
  throw Failure(Exit::kUsage,
                "can't read the position \"" + std::string(text) +
                    "\": write two numbers with a comma between them, such as 10,20 or -3.5,0.25");
}

}  // namespace tool
