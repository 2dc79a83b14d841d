#ifndef PIXMORPH_TOOLS_RUN_PROGRESS_H_
#define PIXMORPH_TOOLS_RUN_PROGRESS_H_

#include <cstdint>

namespace tool {

// A bar on stderr while a method works. It appears only on a terminal and once the work has taken half a
// second.
class Progress {
 public:
  // `total`: the steps of the whole work; 0 (unknown) shows nothing.
  Progress(std::int64_t total, bool wanted);
  // Wipes the bar away.
  ~Progress();
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  bool Enabled() const { return total_ > 0; }
  void Show(std::int64_t done, double elapsedMs);

 private:
  std::int64_t total_;
  bool colour_;
  bool visible_ = false;
  int shownPercent_ = -1;
};

}  // namespace tool

#endif  // PIXMORPH_TOOLS_RUN_PROGRESS_H_
