#include "standin/clock.h"

#include <dlfcn.h>
#include <time.h>

#include <cerrno>
#include <cmath>

namespace standin {
namespace {

// Plain globals: the clock is read before constructors run.
bool clock_set = false;
bool monotonic_fails = false;
bool realtime_fails = false;
double monotonic_seconds = 0;
double realtime_seconds = 0;
double step_seconds = 0;
int clock_reads = 0;

using GetTime = int (*)(clockid_t, timespec*);

int SystemTime(clockid_t clock, timespec* out) {
  static GetTime next = nullptr;
  if (next == nullptr) next = reinterpret_cast<GetTime>(dlsym(RTLD_NEXT, "clock_gettime"));
  return next(clock, out);
}

int SetTime(double seconds, timespec* out) {
  const double whole = std::floor(seconds);
  out->tv_sec = static_cast<time_t>(whole);
  out->tv_nsec = static_cast<long>((seconds - whole) * 1e9);
  return 0;
}

}  // namespace

// What stands behind clock_gettime in this process.
int ReadClock(clockid_t clock, timespec* out) {
  const bool monotonic = clock == CLOCK_MONOTONIC;
  if (!monotonic && clock != CLOCK_REALTIME) return SystemTime(clock, out);
  ++clock_reads;
  if (monotonic ? monotonic_fails : realtime_fails) {
    errno = EINVAL;
    return -1;
  }
  if (!clock_set) return SystemTime(clock, out);
  const double now = monotonic ? monotonic_seconds : realtime_seconds;
  if (monotonic) monotonic_seconds += step_seconds;
  return SetTime(now, out);
}

void SetClock(double seconds) {
  clock_set = true;
  monotonic_seconds = seconds;
  clock_reads = 0;
}

void AdvanceClock(double seconds) { monotonic_seconds += seconds; }
void SetClockStep(double seconds) { step_seconds = seconds; }

void SetRealtimeClock(double seconds) {
  clock_set = true;
  realtime_seconds = seconds;
}

void UseSystemClock() {
  clock_set = monotonic_fails = realtime_fails = false;
  step_seconds = 0;
  clock_reads = 0;
}

void FailClocks(bool monotonic, bool realtime) {
  monotonic_fails = monotonic;
  realtime_fails = realtime;
  clock_reads = 0;
}

int ClockReads() { return clock_reads; }

}  // namespace standin

extern "C" __attribute__((visibility("default"))) int clock_gettime(clockid_t clock, timespec* out) noexcept {
  return standin::ReadClock(clock, out);
}
