#include "runtime/yield.h"

#include <time.h>

#include "host/old_system_symbols.h"
#include "host/services.h"
#include "support/numeric.h"
#include "support/wide_registers.h"

namespace pixmorph {

YieldData yield;

namespace {

std::int32_t LowWord(double value) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(TruncateToInt64(value)));
}

std::int32_t NowTicks() { return static_cast<std::int32_t>(TickCount()); }

// Readings beyond 31 bits wrap, which keeps differences right.
std::int32_t NowMilliseconds() { return LowWord(GetTickCount()); }

// The distance of two readings of a wrapping 32-bit clock, in 64 bits so that it is never negative.
std::int64_t Distance(std::int32_t a, std::int32_t b) {
  const auto difference =
      static_cast<std::int32_t>(static_cast<std::uint32_t>(a) - static_cast<std::uint32_t>(b));
  return difference < 0 ? -std::int64_t{difference} : std::int64_t{difference};
}

}  // namespace

void YieldData::DoYield() {
  const bool inTicks = interval > 0;
  const std::int64_t needed = inTicks ? std::int64_t{interval} : -std::int64_t{interval};
  const std::int32_t now = inTicks ? NowTicks() : NowMilliseconds();
  if (Distance(now, lastYield) < needed) return;
  LeaveWideRegisters();
  REALYieldToRB();
  // Read again: time spent in the runtime does not count towards the next interval.
  lastYield = inTicks ? NowTicks() : NowMilliseconds();
}

double LinuxGetTime() {
  timespec now{};
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) clock_gettime(CLOCK_REALTIME, &now);
  const long double seconds =
      static_cast<long double>(now.tv_sec) + static_cast<long double>(now.tv_nsec) / 1e9f;
  return static_cast<double>(seconds);
}

std::uint32_t TickCount() { return static_cast<std::uint32_t>(TruncateToInt64(LinuxGetTime() * 60)); }

double GetTickCount() { return LinuxGetTime() * 1000; }

}  // namespace pixmorph
