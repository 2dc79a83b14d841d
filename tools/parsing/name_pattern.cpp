#include "tools/parsing/name_pattern.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

#include "tools/failure.h"
#include "tools/parsing/suggest.h"

namespace tool {
namespace {

constexpr const char* kFieldNames[] = {"name", "ext", "width", "height", "n"};

[[noreturn]] void NotAPattern(std::string_view whole, const std::string& reason) {
  throw Failure(Exit::kUsage, "can't read the pattern \"" + std::string(whole) + "\": " + reason);
}

std::string Padded(std::size_t number, std::size_t largest) {
  const std::string digits = std::to_string(number);
  return std::string(std::to_string(largest).size() - digits.size(), '0') + digits;
}

}  // namespace

void NamePattern::AddText(char c) {
  if (parts_.empty() || parts_.back().field != Field::kText) parts_.push_back({Field::kText, ""});
  parts_.back().text += c;
}

void NamePattern::AddField(std::string_view name, std::string_view whole) {
  const auto found = std::find(std::begin(kFieldNames), std::end(kFieldNames), name);
  if (found != std::end(kFieldNames)) {
    parts_.push_back({static_cast<Field>(1 + (found - std::begin(kFieldNames))), ""});
    return;
  }
  const std::string nearest = Nearest(name, {std::begin(kFieldNames), std::end(kFieldNames)});
  NotAPattern(whole, "there is no {" + std::string(name) + "}, " +
                         (nearest.empty() ? "take {name}, {ext}, {width}, {height} or {n}"
                                          : "did you mean {" + nearest + "}?"));
}

NamePattern NamePattern::Parse(std::string_view text) {
  NamePattern pattern;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool brace = text[i] == '{' || text[i] == '}';
    const bool doubled = brace && text.substr(i + 1, 1) == text.substr(i, 1);
    if (!brace || doubled) {
      pattern.AddText(text[i]);
      if (doubled) ++i;
      continue;
    }
    const std::size_t end = text.find('}', i);
    if (text[i] == '}' || end == text.npos) NotAPattern(text, "write a single brace twice, as {{ or }}");
    pattern.AddField(text.substr(i + 1, end - i - 1), text);
    i = end;
  }
  if (pattern.parts_.empty()) NotAPattern(text, "write something like thumbs/{name}.png");
  return pattern;
}

bool NamePattern::NeedsSize() const {
  return std::any_of(parts_.begin(), parts_.end(), [](const Part& part) {
    return part.field == Field::kWidth || part.field == Field::kHeight;
  });
}

std::string NamePattern::Value(const Part& part, const Source& source) {
  const std::filesystem::path path(source.path);
  const std::string ending = path.extension().string();
  switch (part.field) {
    case Field::kText:
      return part.text;
    case Field::kName:
      return path.stem().string();
    case Field::kExtension:
      return ending.empty() ? "" : ending.substr(1);
    case Field::kWidth:
      return std::to_string(source.size.width);
    case Field::kHeight:
      return std::to_string(source.size.height);
    case Field::kNumber:
      return Padded(source.number, source.count);
  }
  return "";
}

std::string NamePattern::Expand(const Source& source) const {
  std::string name;
  for (const Part& part : parts_) name += Value(part, source);
  return name;
}

}  // namespace tool
