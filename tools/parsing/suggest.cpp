#include "tools/parsing/suggest.h"

#include <algorithm>

namespace tool {

std::string FoldName(std::string_view text) {
  std::string folded;
  for (const char c : text) {
    if (c == ' ' || c == '-' || c == '_' || c == '\t') continue;
    folded += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return folded;
}

int EditDistance(std::string_view a, std::string_view b) {
  const std::size_t columns = b.size() + 1;
  std::vector<std::vector<int>> cost(a.size() + 1, std::vector<int>(columns));
  for (std::size_t i = 0; i <= a.size(); ++i) cost[i][0] = static_cast<int>(i);
  for (std::size_t j = 0; j < columns; ++j) cost[0][j] = static_cast<int>(j);
  for (std::size_t i = 1; i <= a.size(); ++i) {
    for (std::size_t j = 1; j < columns; ++j) {
      const int replaced = cost[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      cost[i][j] = std::min({replaced, cost[i - 1][j] + 1, cost[i][j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) cost[i][j] = std::min(cost[i][j], cost[i - 2][j - 2] + 1);
    }
  }
  return cost[a.size()][b.size()];
}

std::string Nearest(std::string_view typed, const std::vector<std::string>& candidates) {
  const std::string folded = FoldName(typed);
  std::string best;
  // A third of the letters may be wrong; beyond that a suggestion is noise.
  int bestDistance = static_cast<int>(std::max<std::size_t>(1, folded.size() / 3)) + 1;
  for (const std::string& candidate : candidates) {
    const int distance = EditDistance(folded, FoldName(candidate));
    if (distance >= bestDistance) continue;
    bestDistance = distance;
    best = candidate;
  }
  return best;
}

}  // namespace tool
