#include "standin/faults.h"

#include <gtest/gtest.h>

#include <new>

#include "standin/ledger.h"
#include "standin/runtime.h"
#include "tests/standin/fake_plugin.h"
#include "tests/support/fence.h"
#include "tests/support/fresh_process.h"

namespace {

using namespace standin;

class Ordered : public testing::Test {
 protected:
  void SetUp() override {
    Config config;
    config.mode = Mode::kConsole;
    Start(config);
  }
};

TEST_F(Ordered, LocksAreGrantedInEveryUselessWay) {
  const Ref picture = NewPicture(4, 4);
  for (const LockFault what : {LockFault::kGrantedNothing, LockFault::kNullData, LockFault::kWrongKind}) {
    Faults faults;
    faults.lock = 1;
    faults.lockFault = what;
    SetFaults(faults);
    fake::Description d;
    ASSERT_TRUE(fake::Lock(picture.Get(), 10, &d));
    EXPECT_EQ(d.kind, what == LockFault::kGrantedNothing ? -1 : what == LockFault::kNullData ? 10 : 11);
    EXPECT_EQ(d.data != nullptr, what == LockFault::kWrongKind);
    fake::Unlock(picture.Get());
  }
  EXPECT_EQ(CheckLedger(), "");
}

TEST_F(Ordered, BitmapRecordsAreSpoiltInOneWord) {
  const Ref picture = NewPicture(4, 4);
  for (const BitmapFault what :
       {BitmapFault::kNone, BitmapFault::kWord0, BitmapFault::kWord1806, BitmapFault::kRowTable}) {
    Faults faults;
    faults.bitmapFault = what;
    SetFaults(faults);
    fake::Description d;
    ASSERT_TRUE(fake::Lock(picture.Get(), 10, &d));
    const auto* words = static_cast<const std::uint32_t*>(d.data);
    EXPECT_EQ(words[0] != 0, what == BitmapFault::kWord0);
    EXPECT_EQ(words[1806] == 0, what == BitmapFault::kWord1806);
    EXPECT_EQ(words[1807] == 0, what == BitmapFault::kRowTable);
    fake::Unlock(picture.Get());
  }
}

TEST_F(Ordered, PicturesAndInstancesAreRefusedOrShort) {
  Faults faults;
  faults.picture = 2;
  faults.shrinkPicture = 1;
  faults.instance = 1;
  SetFaults(faults);
  const Ref small = Ref::Adopt(fake::NewPicture(9, 7));
  EXPECT_EQ(Width(small), 8);
  EXPECT_EQ(Height(small), 6);
  EXPECT_EQ(fake::NewPicture(9, 7), nullptr);
  auto* newInstance = fake::Service<void*(const char*)>("PluginNewInstance");
  EXPECT_EQ(newInstance("Picture"), nullptr);
  const Ref instance = Ref::Adopt(newInstance("Picture"));
  EXPECT_EQ(ClassOf(instance.Get()), "Picture");
  EXPECT_EQ(CountedForFaults().struck, 3);
}

TEST_F(Ordered, MemoryRunsOutInAService) {
  Faults faults;
  faults.throwingService = "REALBuildString";
  faults.throwAt = 1;
  faults.thrown = Thrown::kBadAlloc;
  SetFaults(faults);
  EXPECT_THROW(fake::Service<void*(const char*, int)>("REALBuildString")("x", 1), std::bad_alloc);
}

TEST(Fence, FaultsOneByteBehindAndBefore) {
  using test::Fence;
  for (const std::size_t bytes : {std::size_t{0}, std::size_t{1}, std::size_t{4096}, std::size_t{5000}}) {
    const Fence end(bytes);
    const Fence start(bytes, Fence::At::kStart);
    EXPECT_TRUE(test::PassesInChild([&] {
      for (std::size_t i = 0; i < bytes; ++i) ASSERT_EQ(end.Data()[i] ^ start.Data()[i], 0);
    }));
    EXPECT_TRUE(test::Faults([&] { *const_cast<volatile std::uint8_t*>(end.Data() + bytes) = 1; }));
    EXPECT_TRUE(test::Faults([&] { *const_cast<volatile std::uint8_t*>(start.Data() - 1) = 1; }));
  }
}

}  // namespace
