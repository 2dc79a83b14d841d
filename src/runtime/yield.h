#ifndef PIXMORPH_RUNTIME_YIELD_H_
#define PIXMORPH_RUNTIME_YIELD_H_

#include <cstdint>

namespace pixmorph {

// Hands control back to the runtime at the interval that a method's caller chose.
struct YieldData {
  std::int32_t interval;   // > 0: ticks of 1/60 second; < 0: milliseconds; 0: never
  std::int32_t lastYield;  // clock reading right after the last yield, in the unit of `interval`

  // Yields when `interval` has passed since `lastYield`. Call sites test `interval` first: see `YieldPoint`.
  // Script code may run in here, and it may call the plugin again. [calls host] [may yield]
  void DoYield();

  // One yield point of an operation. [calls host] [may yield]
  void YieldPoint() {
    if (interval != 0) DoYield();
  }
};

// Shared by ScaleKTZ and ScaleImageAndMaskKTZ and the resizes they call; a nested call re-initialises it.
extern YieldData yield;

// Seconds since the monotonic clock's origin.
double LinuxGetTime();
// Ticks of 1/60 second, modulo 2^32.
std::uint32_t TickCount();
// Milliseconds, not rounded.
double GetTickCount();

}  // namespace pixmorph

#endif  // PIXMORPH_RUNTIME_YIELD_H_
