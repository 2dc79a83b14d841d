#ifndef PIXMORPH_TOOLS_PARSING_SUGGEST_H_
#define PIXMORPH_TOOLS_PARSING_SUGGEST_H_

#include <string>
#include <string_view>
#include <vector>

namespace tool {

// ASCII letters in lower case; blanks at both ends, and blanks, '-' and '_' inside, dropped. [pure]
std::string FoldName(std::string_view text);

// Single-character insertions, deletions, replacements and swaps of neighbours between two words. [pure]
int EditDistance(std::string_view a, std::string_view b);

// The candidate that `typed` was most likely meant to be: the nearest one, if it is near enough for its
// length. Empty when nothing is. [pure]
std::string Nearest(std::string_view typed, const std::vector<std::string>& candidates);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_PARSING_SUGGEST_H_
