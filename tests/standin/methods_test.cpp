#include "standin/methods.h"

#include <gtest/gtest.h>
#include <time.h>

#include <cstdlib>
#include <cstring>

#include "standin/clock.h"
#include "standin/faults.h"
#include "standin/ledger.h"
#include "standin/registrations.h"
#include "standin/runtime.h"
#include "tests/standin/fake_plugin.h"

namespace {

using namespace standin;

struct Received {
  void* self;
  int width;
  int height;
  bool antiAlias;
  int yieldTicks;
  std::uintptr_t stackAtCall;
} received;

// A method of a plugin: looks at what it was given, and does what the test wants.
void (*behaviour)() = nullptr;

__attribute__((force_align_arg_pointer, noinline)) void* Behave(void* self, int width, int height,
                                                                unsigned char antiAlias, int yieldTicks) {
  received = {self, width, height, antiAlias != 0, yieldTicks, received.stackAtCall};
  if (behaviour != nullptr) behaviour();
  fake::Retain(self);
  return self;
}

// Keeps the stack as it found it: realigned, it could not tell where it was at the call.
__attribute__((noinline)) void* FakeScale(void* self, int width, int height, unsigned char antiAlias,
                                          int yieldTicks) {
  received.stackAtCall = reinterpret_cast<std::uintptr_t>(__builtin_dwarf_cfa()) % 16;
  return Behave(self, width, height, antiAlias, yieldTicks);
}

char gDeclaration[] = "ScaleKTZ(width as integer, height as integer) as picture";
char gExtending[] = "ScaleKTZ(extends ref as Picture, width as integer) as picture";
char gPicture[] = "Picture";

std::uint32_t Word(const void* pointer) {
  return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer));
}

std::uint32_t gRows[12];
std::uint32_t gRecord[32];

// Two rows, the wanted one second, so that a wrong row length is noticed.
void FillRows(bool old, const char* declaration) {
  std::memset(gRows, 0, sizeof gRows);
  std::memset(gRecord, 0, sizeof gRecord);
  const std::size_t stride = old ? 4 : 6;
  gRows[2] = Word("Other as integer");
  gRows[stride] = Word(reinterpret_cast<void*>(&FakeScale));
  gRows[stride + 2] = Word(declaration);
  gRecord[0] = old ? 9 : 13;
  gRecord[1] = Word(gPicture);
}

void MainWithExtension(Resolver resolver) {
  gRecord[9] = Word(gRows);
  gRecord[10] = 2;
  reinterpret_cast<void (*)(void*)>(resolver("PluginRegisterClassExtension"))(gRecord);
}

void MainWithModule(Resolver resolver) {
  gRecord[2] = Word(gRows);
  gRecord[3] = 2;
  reinterpret_cast<void (*)(void*)>(resolver("PluginRegisterModule"))(gRecord);
}

class Methods : public testing::Test {
 protected:
  void SetUp() override {
    Config config;
    config.mode = Mode::kConsole;
    Start(config);
    behaviour = nullptr;
    FillRows(false, gDeclaration);
  }
  void TearDown() override {
    SetCallStackOffset(0);
    UseSystemClock();
  }
};

TEST_F(Methods, AreFoundInEveryLayout) {
  struct Case {
    bool old;
    const char* declaration;
    PluginMain main;
  };
  for (const Case& one :
       {Case{false, gDeclaration, MainWithExtension}, Case{true, gDeclaration, MainWithExtension},
        Case{false, gExtending, MainWithModule}, Case{true, gExtending, MainWithModule}}) {
    Start(Config());
    FillRows(one.old, one.declaration);
    AttachPlugin(one.main);
    const Ref picture = NewPicture(5, 6, {Store::kBitmap, Guard::kNone, 0, false});
    EXPECT_EQ(Scale(picture, 1, 2), picture);
  }
  Start(Config());
  EXPECT_THROW(Blur(Ref(), 1), std::runtime_error);
}

TEST_F(Methods, PassArgumentsOnEveryStackAlignment) {
  AttachPlugin(MainWithExtension);
  const Ref picture = NewPicture(5, 6);
  for (const int offset : {0, 4, 8, 12}) {
    SetCallStackOffset(offset);
    const Ref result = Scale(picture, -7, 0x12345678, offset == 4, -9);
    EXPECT_EQ(received.self, picture.Get());
    EXPECT_EQ(received.width, -7);
    EXPECT_EQ(received.height, 0x12345678);
    EXPECT_EQ(received.antiAlias, offset == 4);
    EXPECT_EQ(received.yieldTicks, -9);
    EXPECT_EQ(received.stackAtCall, static_cast<std::uintptr_t>(offset));
  }
  EXPECT_EQ(CheckLedger(), "");
}

TEST_F(Methods, ThrowWhatThePluginRaised) {
  AttachPlugin(MainWithExtension);
  behaviour = [] {
    void* exception = fake::Service<void*(const char*)>("PluginNewInstance")("NilObjectException");
    void* text = fake::Service<void*(const char*, int)>("REALBuildString")("gone", 4);
    fake::Service<int(void*, const char*, void*)>("REALSetPropValueString")(exception, "Message", text);
    fake::Service<void(void*)>("REALUnlockString")(text);
    fake::Service<void(void*)>("RuntimeRaiseException")(exception);
    fake::Release(exception);
  };
  const Ref picture = NewPicture(5, 6);
  try {
    Scale(picture, 1, 1);
    FAIL() << "nothing was thrown";
  } catch (const RuntimeException& error) {
    EXPECT_EQ(error.ClassName(), "NilObjectException");
    EXPECT_EQ(error.Message(), "gone");
  }
  EXPECT_EQ(CheckLedger(), "");
  EXPECT_EQ(LiveObjects(), 1);
}

TEST_F(Methods, LetPassWhatAServiceThrows) {
  AttachPlugin(MainWithExtension);
  const Ref picture = NewPicture(5, 6);
  Faults faults;
  faults.throwingService = "REALLockObject";
  faults.throwAt = 2;
  SetFaults(faults);
  SetCallStackOffset(4);
  EXPECT_EQ(Scale(picture, 1, 1), picture);
  EXPECT_THROW(Scale(picture, 1, 1), ServiceException);
  EXPECT_EQ(CountedForFaults().struck, 1);
  EXPECT_EQ(CheckLedger(), "");
}

TEST_F(Methods, RefuseTheNthLock) {
  const Ref picture = NewPicture(5, 6);
  Faults faults;
  faults.lock = 2;
  for (const bool persistent : {false, true}) {
    faults.persistent = persistent;
    SetFaults(faults);
    for (int n = 1; n <= 3; ++n) {
      fake::Description d;
      const bool granted = fake::Lock(picture.Get(), 10, &d);
      EXPECT_EQ(granted, n == 1 || (n == 3 && !persistent));
      if (granted) fake::Unlock(picture.Get());
    }
  }
}

void* gBlock = nullptr;

TEST_F(Methods, WatchAndRefuseThePluginsAllocations) {
  if (!AllocatorInterposed()) GTEST_SKIP() << "the sanitizer has the allocator";
  AttachPlugin(MainWithExtension);
  const Ref picture = NewPicture(5, 6);
  behaviour = [] { gBlock = std::calloc(10, 10); };
  Scale(picture, 1, 1);
  EXPECT_EQ(LivePluginBlocks(), 1u);
  EXPECT_NE(CheckLedger().find("1 blocks of memory"), std::string::npos);
  std::free(gBlock);
  EXPECT_EQ(CheckLedger(), "");
  Faults faults;
  faults.allocation = 1;
  SetFaults(faults);
  void* ours = std::malloc(8);
  EXPECT_NE(ours, nullptr);
  std::free(ours);
  Scale(picture, 1, 1);
  EXPECT_EQ(gBlock, nullptr);
  Scale(picture, 1, 1);
  EXPECT_NE(gBlock, nullptr);
  std::free(gBlock);
}

TEST_F(Methods, RunScriptDuringAYield) {
  AttachPlugin(MainWithExtension);
  const Ref picture = NewPicture(5, 6);
  behaviour = [] { fake::Service<void()>("REALYieldToRB")(); };
  int depth = 0;
  CurrentConfig().onYield = [&] {
    if (++depth >= 3) return;
    EXPECT_EQ(Scale(picture, 1, 1), picture);
  };
  Scale(picture, 2, 2);
  EXPECT_EQ(depth, 3);
  EXPECT_EQ(CallCount("REALYieldToRB"), 3);
}

TEST_F(Methods, ClockStandsUntilItIsMoved) {
  const auto read = [](clockid_t clock) {
    timespec now{};
    return clock_gettime(clock, &now) == 0
               ? static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9
               : -1.0;
  };
  SetClock(12.25);
  EXPECT_EQ(read(CLOCK_MONOTONIC), 12.25);
  AdvanceClock(0.5);
  SetClockStep(2);
  EXPECT_EQ(read(CLOCK_MONOTONIC), 12.75);
  EXPECT_EQ(read(CLOCK_MONOTONIC), 14.75);
  SetRealtimeClock(3);
  FailClocks(true, false);
  EXPECT_EQ(read(CLOCK_MONOTONIC), -1.0);
  EXPECT_EQ(read(CLOCK_REALTIME), 3.0);
  EXPECT_EQ(ClockReads(), 2);
}

TEST_F(Methods, LogCallsInOrder) {
  AttachPlugin(MainWithExtension);
  const Ref picture = NewPicture(5, 6);
  EnableLog(true);
  behaviour = [] { fake::Service<void()>("REALYieldToRB")(); };
  Scale(picture, 2, 2);
  ASSERT_EQ(Calls().size(), 2u);
  EXPECT_STREQ(Calls()[0].service, "REALYieldToRB");
  EXPECT_STREQ(Calls()[1].service, "REALLockObject");
  EXPECT_EQ(Calls()[1].words[0], reinterpret_cast<std::uintptr_t>(picture.Get()));
}

}  // namespace
