#include "standin/ledger.h"

#include <gtest/gtest.h>

#include "standin/runtime.h"
#include "tests/standin/fake_plugin.h"
#include "tests/support/fresh_process.h"

namespace {

using namespace standin;

void StartConsole() {
  Config config;
  config.mode = Mode::kConsole;
  Start(config);
}

TEST(Ledger, GrossFaultsStopTheRun) {
  struct Case {
    const char* report;
    void (*fault)(void* picture);
  };
  const Case cases[] = {
      {"not locked",
       [](void* p) {
         fake::Description d;
         fake::Lock(p, 10, &d);
         fake::Unlock(p);
         fake::Unlock(p);
       }},
      {"REALLockPictureDescription was given nil",
       [](void*) {
         fake::Description d;
         fake::Lock(nullptr, 10, &d);
       }},
      {"unlockPictureDescription was given nil", [](void*) { fake::Unlock(nullptr); }},
      {"REALLockObject was given nil", [](void*) { fake::Retain(nullptr); }},
      {"REALUnlockObject was given nil", [](void*) { fake::Release(nullptr); }},
      {"never handed out",
       [](void*) {
         int stray = 0;
         fake::Release(&stray);
       }},
      {"a released object",
       [](void* p) {
         fake::Release(p);
         fake::Retain(p);
       }},
      {"released a locked picture",
       [](void* p) {
         fake::Description d;
         fake::Lock(p, 10, &d);
         fake::Release(p);
       }},
      {"does not hold",
       [](void* p) {
         // The test's own reference keeps the picture alive; the second release is the plugin's fault all the
         // same.
         const Ref mine = Ref::Retain(p);
         fake::Release(p);
         fake::Release(p);
       }},
      {"another class", [](void* p) { fake::Service<void(void*)>("REALUnlockString")(p); }},
  };
  for (const Case& one : cases) {
    EXPECT_TRUE(test::StopsRun(
        [&] {
          StartConsole();
          one.fault(fake::NewPicture(2, 2));
        },
        one.report));
  }
}

TEST(Ledger, ReportsWhatThePluginKeeps) {
  StartConsole();
  const Ref mine = NewPicture(3, 3);
  EXPECT_EQ(CheckLedger(), "");
  fake::Retain(mine.Get());
  EXPECT_NE(CheckLedger().find("1 references kept by the plugin"), std::string::npos);
  fake::Description d;
  ASSERT_TRUE(fake::Lock(mine.Get(), 10, &d));
  EXPECT_NE(CheckLedger().find("1 locks left"), std::string::npos);
  fake::Unlock(mine.Get());
  fake::Release(mine.Get());
  EXPECT_EQ(CheckLedger(), "");
}

TEST(Ledger, OldRuntimesWantARefusedLockUndone) {
  Config config;
  config.mode = Mode::kConsole;
  fake::Description d;
  for (const double version : {2011.04, 2012.0}) {
    config.version = version;
    Start(config);
    const Ref picture = NewPicture(2, 2);
    EXPECT_FALSE(fake::Lock(picture.Get(), 12, &d));
    EXPECT_EQ(LockCount(picture), version < 2012.0 ? 1 : 0);
    if (version < 2012.0) fake::Unlock(picture.Get());
  }
}

TEST(Ledger, AMaskLivesAsLongAsItsPicture) {
  StartConsole();
  void* picture = fake::NewPicture(4, 4);
  void* mask = fake::Service<void*(void*, int)>("REALGetPictureMask")(picture, 1);
  fake::Release(mask);
  EXPECT_EQ(LiveObjects("Picture"), 2);
  fake::Release(picture);
  EXPECT_EQ(LiveObjects(), 0);
}

}  // namespace
