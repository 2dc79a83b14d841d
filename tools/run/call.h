#ifndef PIXMORPH_TOOLS_RUN_CALL_H_
#define PIXMORPH_TOOLS_RUN_CALL_H_

#include <cstdint>
#include <functional>
#include <string>

#include "tools/run/options.h"

namespace tool {

// What one call of a method did with the time.
struct Measurement {
  int interval = 0;  // the yield argument that was passed
  int yields = 0;
  double longestGapMs = 0;  // between handing control back, or start or end, and the next time
  double methodMs = 0;      // the whole call, without what ran inside the yields
};

// One call to make: `run` gets the yield argument.
struct MethodCall {
  std::string method;
  std::int64_t yieldPoints = 0;  // about how many the whole call has, for the progress bar
  std::function<void(int)> run;
};

// Makes the call, watching its yields. Without --yield it asks for yields only where a progress bar is shown.
// A runtime exception or a fault of a runtime service becomes a Failure (kMethod).
Measurement Measure(const MethodCall& call, const Options& options);

// Milliseconds of the system's monotonic clock, not counted among the plugin's clock readings.
double NowMs();

}  // namespace tool

#endif  // PIXMORPH_TOOLS_RUN_CALL_H_
