#include "tools/run/progress.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace tool {
namespace {

constexpr double kWorthShowingMs = 500;
constexpr int kBarCells = 30;

bool ColourWanted() {
  const char* noColour = std::getenv("NO_COLOR");
  return !noColour || noColour[0] == '\0';
}

bool OnTerminal() {
  const char* terminal = std::getenv("TERM");
  return isatty(STDERR_FILENO) && terminal && std::string(terminal) != "dumb";
}

}  // namespace

Progress::Progress(std::int64_t total, bool wanted)
    : total_(wanted && OnTerminal() ? total : 0), colour_(ColourWanted()) {}

Progress::~Progress() {
  if (visible_) std::fputs("\r\x1b[K", stderr);
}

void Progress::Show(std::int64_t done, double elapsedMs) {
  if (!Enabled() || elapsedMs < kWorthShowingMs) return;
  const int percent = static_cast<int>(std::clamp<std::int64_t>(done * 100 / total_, 0, 100));
  if (percent == shownPercent_) return;
  shownPercent_ = percent;
  visible_ = true;
  const auto filled = static_cast<std::size_t>(percent * kBarCells / 100);
  const std::string bar = std::string(filled, '#') + std::string(kBarCells - filled, '.');
  std::fprintf(stderr, "\r%s%s%s %3d %%", colour_ ? "\x1b[36m" : "", bar.c_str(), colour_ ? "\x1b[0m" : "",
               percent);
  std::fflush(stderr);
}

}  // namespace tool
