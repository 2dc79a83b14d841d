#include "standin/picture.h"

#include <gtest/gtest.h>

#include <cstring>

#include "standin/display.h"
#include "standin/ledger.h"
#include "standin/runtime.h"
#include "tests/standin/fake_plugin.h"
#include "tests/support/fresh_process.h"
#include "tests/support/random.h"

namespace {

using namespace standin;

using Draw = void(void* graphics, void* image, int x, int y, int w, int h, int sx, int sy, int sw, int sh);
constexpr char kDraw[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, sx as Integer = "
    "0, "
    "sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

void DrawWhole(const Ref& target, const Ref& source) {
  void* graphics = fake::Service<void*(void*)>("pluginPictureGraphicsGetter")(target.Get());
  auto* load = fake::Service<void*(void*, const char*)>("REALLoadObjectMethod");
  auto* draw = reinterpret_cast<Draw*>(load(graphics, kDraw));
  ASSERT_NE(draw, nullptr);
  const int w = Width(source);
  const int h = Height(source);
  draw(graphics, source.Get(), 0, 0, w, h, 0, 0, w, h);
  fake::Release(graphics);
}

// Every pair of stores: pixels survive the way there, drawing keeps the colours and sets the target's own top
// byte.
void CheckPairs(const std::vector<StoreOptions>& stores) {
  test::Random random;
  for (const StoreOptions& from : stores) {
    for (const StoreOptions& to : stores) {
      const int width = random.Between(1, 40);
      const int height = random.Between(1, 30);
      const Ref source = NewPicture(width, height, from);
      const Ref target = NewPicture(width, height, to);
      auto pixels = random.Pixels(width * height);
      SetPixels(source, pixels);
      const auto stored = GetPixels(source);
      DrawWhole(target, source);
      const auto drawn = GetPixels(target);
      for (std::size_t i = 0; i < pixels.size(); ++i) {
        ASSERT_EQ(stored[i], from.store == Store::kGdk ? pixels[i] & 0xFFFFFFu : pixels[i]);
        ASSERT_EQ(drawn[i], (pixels[i] & 0xFFFFFFu) | (to.store == Store::kCairo ? 0xFF000000u : 0u));
      }
      EXPECT_TRUE(PaddingIntact(target));
    }
  }
  EXPECT_EQ(CheckLedger(), "");
}

const std::vector<StoreOptions> kMemoryStores = {
    {Store::kBitmap, Guard::kNone, 8, true},
    {Store::kBitmap, Guard::kRows, 0, false},
    {Store::kCairo, Guard::kPicture, 12, false},
    {Store::kRefusing, Guard::kNone, 0, false},
};

TEST(Picture, StoresKeepAndDrawPixels) {
  Start(Config());
  CheckPairs(kMemoryStores);
}

TEST(Picture, PixmapsKeepAndDrawPixels) {
  try {
    const OwnDisplay display;
    EXPECT_TRUE(test::PassesInChild([] {
      Start(Config());
      auto stores = kMemoryStores;
      stores.push_back({Store::kGdk, Guard::kNone, 0, false});
      CheckPairs(stores);
    }));
  } catch (const std::runtime_error& error) {
    GTEST_SKIP() << error.what();
  }
}

TEST(Picture, WithoutADisplayPixmapsSayWhy) {
  EXPECT_TRUE(test::PassesInChild([] {
    unsetenv("DISPLAY");
    Start(Config());
    try {
      NewPicture(2, 2, {Store::kGdk, Guard::kNone, 0, false});
      FAIL() << "a pixmap without a display";
    } catch (const std::runtime_error& error) {
      EXPECT_STREQ(error.what(), "no X display: DISPLAY is not set");
    }
    EXPECT_EQ(LiveObjects(), 0);
  }));
}

TEST(Picture, GuardsFaultOneByteBehind) {
  for (const StoreOptions& options : {StoreOptions{Store::kBitmap, Guard::kRows, 0, false},
                                      StoreOptions{Store::kBitmap, Guard::kPicture, 8, false},
                                      StoreOptions{Store::kCairo, Guard::kPicture, 8, false}}) {
    const int row = options.guard == Guard::kRows ? 1 : 4;
    const auto touch = [&](int byte) {
      Start(Config());
      const Ref picture = NewPicture(7, 5, options);
      *const_cast<volatile std::uint8_t*>(RowAddress(picture, row) + byte) = 1;
    };
    EXPECT_TRUE(test::PassesInChild([&] { touch(7 * 4 - 1); }));
    EXPECT_TRUE(test::Faults([&] { touch(7 * 4); }));
  }
}

TEST(Picture, PaddingTellsOfStrayWrites) {
  Start(Config());
  const Ref picture = NewPicture(7, 5, {Store::kCairo, Guard::kNone, 4, false});
  EXPECT_TRUE(PaddingIntact(picture));
  RowAddress(picture, 3)[7 * 4 + 2] = 0;
  EXPECT_FALSE(PaddingIntact(picture));
}

TEST(Picture, LocksGrantTheKindOfTheStore) {
  for (const Mode mode : {Mode::kConsole, Mode::kCairo}) {
    Config config;
    config.mode = mode;
    Start(config);
    for (const Store store : {Store::kBitmap, Store::kCairo, Store::kRefusing}) {
      const Ref picture = NewPicture(3, 2, {store, Guard::kNone, 0, false});
      for (const int kind : {6, 10, 12}) {
        fake::Description d;
        const bool granted = fake::Lock(picture.Get(), kind, &d);
        const bool cairo = store == Store::kCairo && kind == 12 && mode != Mode::kConsole;
        EXPECT_EQ(granted, cairo || (store == Store::kBitmap && kind == 10));
        if (granted) {
          EXPECT_EQ(d.kind, kind);
          EXPECT_EQ(d.width, 3);
          fake::Unlock(picture.Get());
        }
      }
    }
    EXPECT_EQ(CheckLedger(), "");
  }
}

TEST(Picture, BitmapRowsAreVoidOnceUnlocked) {
  EXPECT_TRUE(test::Faults([] {
    Start(Config());
    const Ref picture = NewPicture(3, 2, {Store::kBitmap, Guard::kNone, 0, false});
    fake::Description d;
    fake::Lock(picture.Get(), 10, &d);
    auto** rows = static_cast<std::uint8_t***>(d.data)[1807];
    EXPECT_EQ(rows[1], RowAddress(picture, 1));
    rows[1][0] = 1;
    fake::Unlock(picture.Get());
    rows[1][0] = 2;
  }));
}

TEST(Picture, CopyMaskShowsWhatIsTransparent) {
  Start(Config());
  const Ref picture = NewAlphaPicture(2, 1);
  SetPixels(picture, {0x00123456u, 0xF0FFFFFFu});
  auto* load = fake::Service<void*(void*, const char*)>("REALLoadObjectMethod");
  auto* copyMask = reinterpret_cast<void* (*)(void*)>(load(picture.Get(), "CopyMask as Picture"));
  const Ref mask = Ref::Adopt(copyMask(picture.Get()));
  EXPECT_FALSE(HasAlpha(mask));
  EXPECT_EQ(GetPixels(mask), (std::vector<std::uint32_t>{0xFFFFFFFFu, 0xFF0F0F0Fu}));
}

}  // namespace
