#ifndef PIXMORPH_TOOLS_RUN_OPTIONS_H_
#define PIXMORPH_TOOLS_RUN_OPTIONS_H_

#include <optional>
#include <string>

#include "standin/runtime.h"

namespace tool {

// What every command that runs a method understands.
struct Options {
  std::string library;                           // empty: look beside the executable
  standin::Mode mode = standin::Mode::kConsole;  // --mode
  std::optional<double> hostVersion = 2015.021;  // --host-version; empty: unknown
  std::optional<int> yieldInterval;              // --yield; empty: as the progress bar wants it, else 0
  std::string format;                            // --format; empty: by the output's name
  int quality = 90;                              // JPEG, 1 .. 100
  bool json = false;
  bool quiet = false;
  bool force = false;  // overwrite the output
};

// "console", "cairo", "gdk".
const char* NameOf(standin::Mode mode);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_RUN_OPTIONS_H_
