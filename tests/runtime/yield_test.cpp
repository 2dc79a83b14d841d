#include "runtime/yield.h"

#include <gtest/gtest.h>

#include <climits>

#include "host/resolver.h"
#include "standin/clock.h"
#include "standin/runtime.h"

extern "C" void REALPluginMain(pixmorph::REALResolver resolver);

// Yields under a clock that the test moves.
namespace {

using pixmorph::YieldData;

class Yield : public testing::Test {
 protected:
  void SetUp() override {
    standin::Start(standin::Config());
    standin::AttachPluginEntry(&REALPluginMain);
    standin::ClearLog();
  }
  void TearDown() override { standin::UseSystemClock(); }

  static int Yields() { return standin::CallCount("REALYieldToRB"); }
};

struct YieldCase {
  int interval, lastYield;
  double now;  // seconds
  bool yields;
  int after;                   // `lastYield` afterwards
  int reads = yields ? 2 : 1;  // of the clock
};

TEST_F(Yield, ComesWhenTheIntervalHasPassed) {
  const YieldCase cases[] = {
      // Ticks of 1/60 second; equality counts, fractions do not.
      {2, 600, 10.0 + 1.9 / 60, false, 600},
      {2, 600, 10.0 + 2.25 / 60, true, 602},
      {1, 600, 10.01, false, 600},
      {1, 0, 0.01, false, 0},
      {60, 0, 1.0, true, 60},
      {61, 0, 1.0, false, 0},
      // A clock that went backwards has moved, too.
      {5, 610, 10.0 + 0.25 / 60, true, 600},
      // Milliseconds.
      {-1, 10000, 10.0015, true, 10001},
      {-1, 10000, 10.0005, false, 10000},
      {-1000, 0, 0.9995, false, 0},
      {-1000, 0, 1.0005, true, 1000},
      // Readings beyond 31 bits wrap: 2^31 milliseconds are 2147483.648 seconds.
      {-1000, INT_MAX - 100, 2147484.0005, false, INT_MAX - 100},
      {-400, INT_MAX - 100, 2147484.0005, true, INT_MIN + 352},
      // So do ticks.
      {60, -30, (4294967296.0 + 29.5) / 60, false, -30},
      {60, -30, (4294967296.0 + 30.5) / 60, true, 30},
      // The longest intervals.
      {INT_MIN, 0, 2147483.0, false, 0},
      {INT_MIN, 0, 2147483.6485, true, INT_MIN},
      {INT_MAX, 0, 1000.0, false, 0},
      // Without an interval not even the clock is read.
      {0, 0, 100.0, false, 0, 0},
  };
  for (const YieldCase& one : cases) {
    standin::SetClock(one.now);
    standin::ClearLog();
    YieldData data = {one.interval, one.lastYield};
    data.YieldPoint();
    const auto name = testing::Message() << one.interval << " from " << one.lastYield << " at " << one.now;
    EXPECT_EQ(Yields(), one.yields ? 1 : 0) << name;
    EXPECT_EQ(data.lastYield, one.after) << name;
    EXPECT_EQ(standin::ClockReads(), one.reads) << name;
  }
}

// Nor does a nested call that turns a shared record from ticks to milliseconds: a yield ends in its own unit.
TEST_F(Yield, TimeInTheRuntimeDoesNotCount) {
  standin::SetClock(100);
  standin::CurrentConfig().onYield = [] { standin::AdvanceClock(3); };
  YieldData ticks = {60, 0}, milliseconds = {-1000, 0};
  ticks.DoYield();
  EXPECT_EQ(ticks.lastYield, 103 * 60);
  standin::CurrentConfig().onYield = [&milliseconds] { milliseconds = {7, 5}; };
  milliseconds.DoYield();
  EXPECT_EQ(milliseconds.interval, 7);
  EXPECT_EQ(milliseconds.lastYield, 103000);
}

TEST_F(Yield, ClocksFallBackToRealtimeAndThenToZero) {
  standin::SetClock(12.5);
  standin::SetRealtimeClock(1000.25);
  EXPECT_EQ(pixmorph::LinuxGetTime(), 12.5);
  EXPECT_EQ(pixmorph::TickCount(), 750u);
  EXPECT_EQ(pixmorph::GetTickCount(), 12500.0);
  standin::FailClocks(true, false);
  EXPECT_EQ(pixmorph::LinuxGetTime(), 1000.25);
  standin::FailClocks(true, true);
  EXPECT_EQ(pixmorph::LinuxGetTime(), 0.0);
  YieldData data = {-1, 0};
  data.DoYield();
  EXPECT_EQ(Yields(), 0);
  standin::FailClocks(false, false);
}

}  // namespace
