#ifndef PIXMORPH_TOOLS_PARSING_NAME_PATTERN_H_
#define PIXMORPH_TOOLS_PARSING_NAME_PATTERN_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "tools/parsing/geometry.h"

namespace tool {

// An output's name made from its input's, such as "thumbs/{name}-{width}x{height}.png".
class NamePattern {
 public:
  // What one name is made from.
  struct Source {
    std::string path;        // of the input
    std::size_t number = 1;  // 1 for the first input
    std::size_t count = 1;   // of all inputs: numbers get as many digits as the last one has
    Size size;               // of the result
  };

  // {name} and {ext} are the input's name without folder and ending, and the ending; {width} and {height} the
  // result's; {n} counts the inputs. {{ and }} stand for braces. Throws Failure (kUsage). [pure]
  static NamePattern Parse(std::string_view text);

  // Whether the name depends on the result's size. [pure]
  bool NeedsSize() const;
  std::string Expand(const Source& source) const;  // [pure]

 private:
  enum class Field { kText, kName, kExtension, kWidth, kHeight, kNumber };
  struct Part {
    Field field;
    std::string text;  // of kText
  };

  void AddText(char c);
  void AddField(std::string_view name, std::string_view whole);
  static std::string Value(const Part& part, const Source& source);

  std::vector<Part> parts_;
};

}  // namespace tool

#endif  // PIXMORPH_TOOLS_PARSING_NAME_PATTERN_H_
