#include "tools/run/call.h"

#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <new>

#include "standin/clock.h"
#include "standin/runtime.h"
#include "tools/failure.h"
#include "tools/run/progress.h"

namespace tool {
namespace {

// Ten times a second: smooth enough for a bar, too seldom to cost anything.
constexpr int kProgressInterval = -100;

// The runtime's side of the yields of one call.
class YieldWatch {
 public:
  YieldWatch(const MethodCall& call, const Options& options)
      : progress_(call.yieldPoints, !options.quiet && !options.json) {}

  bool ShowsProgress() const { return progress_.Enabled(); }

  void Begin() {
    standin::UseSystemClock();
    start_ = resumed_ = NowMs();
  }

  void OnYield() {
    const double now = NowMs();
    NoteStretch(now);
    ++yields_;
    // Every yield point reads the clock once, and once more after it has yielded.
    progress_.Show(standin::ClockReads() - (yields_ - 1), now - start_);
    resumed_ = NowMs();
  }

  void End(Measurement* measured) {
    NoteStretch(NowMs());
    measured->yields = yields_;
    measured->longestGapMs = longest_;
    measured->methodMs = worked_;
  }

 private:
  void NoteStretch(double now) {
    longest_ = std::max(longest_, now - resumed_);
    worked_ += now - resumed_;
  }

  Progress progress_;
  int yields_ = 0;
  double start_ = 0;
  double resumed_ = 0;
  double longest_ = 0;
  double worked_ = 0;
};

[[noreturn]] void Refused(const std::string& method, const std::string& reason) {
  throw Failure(Exit::kMethod, method + " failed (" + reason + "): try another --mode, or a smaller picture");
}

}  // namespace

double NowMs() {
  // The 32-bit system call's own layout; its seconds count from the start of the system and don't run out.
  struct {
    std::int32_t seconds;
    std::int32_t nanoseconds;
  } now{};
  syscall(SYS_clock_gettime, CLOCK_MONOTONIC, &now);
  return now.seconds * 1e3 + now.nanoseconds / 1e6;
}

Measurement Measure(const MethodCall& call, const Options& options) {
  YieldWatch watch(call, options);
  Measurement measured;
  measured.interval = options.yieldInterval.value_or(watch.ShowsProgress() ? kProgressInterval : 0);
  standin::CurrentConfig().onYield = [&watch] { watch.OnYield(); };
  struct Unwatch {
    ~Unwatch() { standin::CurrentConfig().onYield = nullptr; }
  } unwatch;
  watch.Begin();
  try {
    call.run(measured.interval);
  } catch (const standin::RuntimeException& raised) {
    Refused(call.method, "it raised " + std::string(raised.what()));
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::runtime_error& error) {
    Refused(call.method, error.what());
  }
  watch.End(&measured);
  return measured;
}

}  // namespace tool
