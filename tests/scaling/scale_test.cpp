#include "scaling/scale.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "host/resolver.h"
#include "kernels/levels.h"
#include "standin/clock.h"
#include "standin/faults.h"
#include "standin/ledger.h"
#include "standin/methods.h"
#include "standin/picture.h"
#include "standin/runtime.h"
#include "tests/support/fresh_process.h"
#include "tests/support/random.h"

extern "C" void REALPluginMain(pixmorph::REALResolver resolver);

// Both scale methods through the stand-in runtime, against a second evaluation of their formulas.
namespace {

using standin::Ref;

struct Bitmap {
  int width, height;
  std::vector<std::uint32_t> pixels;
  std::uint32_t At(int x, int y) const {
    x = std::clamp(x, 0, width - 1);
    y = std::clamp(y, 0, height - 1);
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                  static_cast<std::size_t>(x)];
  }
};

Bitmap RandomBitmap(test::Random& random, int width, int height) {
  return {width, height, random.Pixels(width * height)};
}

Bitmap BitmapOf(const Ref& picture) {
  return {standin::Width(picture), standin::Height(picture), standin::GetPixels(picture)};
}

int Byte(std::uint32_t pixel, int channel) { return static_cast<int>(pixel >> (8 * channel) & 0xFF); }

// An x87 register's product, truncated.
int Index(int i, double ratio) {
  const volatile long double product = static_cast<long double>(i) * static_cast<long double>(ratio);
  return static_cast<int>(product);
}

Bitmap AreaAverage(const Bitmap& source, int width, int height, std::uint32_t top) {
  const double xRatio = static_cast<double>(source.width) / width;
  const double yRatio = static_cast<double>(source.height) / height;
  const int boxWidth = static_cast<int>(std::ceil(xRatio)), boxHeight = static_cast<int>(std::ceil(yRatio));
  Bitmap result{width, height, {}};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      std::uint32_t pixel = top;
      for (int channel = 0; channel < 3; ++channel) {
        double sum = 0.5;
        for (int yy = 0; yy < boxHeight; ++yy)
          for (int xx = 0; xx < boxWidth; ++xx)
            sum += Byte(source.At(Index(x, xRatio) + xx, Index(y, yRatio) + yy), channel);
        pixel |= static_cast<std::uint32_t>(sum / (boxWidth * boxHeight)) << (8 * channel);
      }
      result.pixels.push_back(pixel);
    }
  return result;
}

struct Tap {
  int whole;
  float near, far;
};

Tap TapOf(int i, int source, int target) {
  const double t = static_cast<double>(i * source % target) / target;
  const double t2 = t * t, t3 = t2 * t;
  return {i * source / target, static_cast<float>(2 * t3 - 3 * t2 + 1), static_cast<float>(-2 * t3 + 3 * t2)};
}

Bitmap SmoothEnlarge(const Bitmap& source, int width, int height) {
  Bitmap result{width, height, {}};
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) {
      const Tap down = TapOf(y, source.height, height), across = TapOf(x, source.width, width);
      std::uint32_t pixel = 0;
      for (int channel = 0; channel < 4; ++channel) {
        const auto blended = [&](int column) {
          const float above = static_cast<float>(Byte(source.At(column, down.whole), channel)) * down.near;
          const float below = static_cast<float>(Byte(source.At(column, down.whole + 1), channel)) * down.far;
          return above + below;
        };
        const double near = 0.5 + double{blended(across.whole)} * across.near;
        const double v = near + double{blended(across.whole + 1)} * across.far;
        pixel |= static_cast<std::uint32_t>(v) << (8 * channel);
      }
      result.pixels.push_back(pixel);
    }
  return result;
}

struct World {
  const char* name;
  standin::Mode mode;
  bool alpha;
  std::uint32_t top;  // of area-averaged pixels
};
const World kWorlds[] = {{"console", standin::Mode::kConsole, false, 0},
                         {"cairo", standin::Mode::kCairo, false, 0xFF000000u},
                         {"cairo with alpha", standin::Mode::kCairo, true, 0xFF000000u}};

standin::StoreOptions GuardedStore(const World& world) {
  standin::StoreOptions store = standin::DefaultStore(world.alpha);
  store.guard = standin::Guard::kRows;
  store.extraStrideBytes = 8;
  return store;
}

void StartWorld(const World& world) {
  standin::Config config;
  config.mode = world.mode;
  standin::Start(config);
  standin::AttachPluginEntry(&REALPluginMain);
  standin::ResetPluginMemory();
}

Ref PictureOf(const World& world, const Bitmap& bitmap) {
  const standin::StoreOptions store = GuardedStore(world);
  const Ref picture = world.alpha ? standin::NewAlphaPicture(bitmap.width, bitmap.height, store)
                                  : standin::NewPicture(bitmap.width, bitmap.height, store);
  standin::SetPixels(picture, bitmap.pixels);
  return picture;
}

void InEveryWorld(const std::function<void(const World&)>& body) {
  for (const World& world : kWorlds)
    EXPECT_TRUE(test::PassesInChild([&] {
      StartWorld(world);
      body(world);
      EXPECT_EQ("", standin::CheckLedger());
    })) << world.name;
}

// Every yield point yields, since the clock moves on with every reading.
void YieldAlways() {
  standin::SetClock(1000);
  standin::SetClockStep(1);
}

TEST(Scale, MakesThePixelsOfTheFormulas) {
  InEveryWorld([](const World& world) {
    test::Random random(31);
    for (int level = 0; level < pixmorph::kernels::kLevelCount; ++level) {
      if (!pixmorph::kernels::ForceLevel(static_cast<pixmorph::kernels::Level>(level))) continue;
      for (int round = 0; round < 25; ++round) {
        const Bitmap source = RandomBitmap(random, random.Between(1, 40), random.Between(1, 30));
        const int width = random.Between(1, 60), height = random.Between(1, 50);
        const bool antiAlias = random.OneIn(2);
        if (width == source.width && height == source.height) continue;
        const Ref picture = PictureOf(world, source);
        const Ref result = standin::Scale(picture, width, height, antiAlias);
        ASSERT_TRUE(result);
        const bool smooth = antiAlias && width > source.width && height > source.height;
        EXPECT_EQ(smooth ? SmoothEnlarge(source, width, height).pixels
                         : AreaAverage(source, width, height, world.top).pixels,
                  standin::GetPixels(result))
            << source.width << " × " << source.height << " -> " << width << " × " << height << " level "
            << level;
        EXPECT_EQ(world.alpha, standin::HasAlpha(result));
        EXPECT_EQ(source.pixels, standin::GetPixels(picture));
        EXPECT_EQ(1, standin::ReferenceCount(result.Get()));
      }
    }
  });
}

TEST(Scale, EqualSizeIsThePictureItselfAndNoSizeIsNothing) {
  InEveryWorld([](const World& world) {
    test::Random random(32);
    const Ref picture = PictureOf(world, RandomBitmap(random, 5, 4));
    EXPECT_EQ(picture, standin::Scale(picture, 5, 4, true, 1));
    EXPECT_EQ(picture, standin::ScaleImageAndMask(picture, 5, 4, true, 1));
    EXPECT_EQ(0, standin::CallCount("REALYieldToRB"));
    for (const bool antiAlias : {false, true}) {
      EXPECT_FALSE(standin::Scale(picture, 0, 10, antiAlias));
      EXPECT_FALSE(standin::Scale(picture, 10, 0, antiAlias));
      EXPECT_FALSE(standin::Scale(picture, -5, 10, antiAlias));
      EXPECT_FALSE(standin::ScaleImageAndMask(picture, 10, -1, antiAlias));
    }
    EXPECT_FALSE(standin::Scale(Ref(), 5, 5));
    EXPECT_FALSE(standin::Scale(Ref(), 0, 0));
    EXPECT_FALSE(standin::ScaleImageAndMask(Ref(), 5, 5));
  });
}

TEST(Scale, YieldsOncePerRowAndAtTheStatedPoints) {
  InEveryWorld([](const World& world) {
    test::Random random(33);
    const Ref picture = PictureOf(world, RandomBitmap(random, 6, 5));
    const auto yields = [&](int width, int height, bool antiAlias, int ticks) {
      YieldAlways();
      standin::ClearLog();
      const Ref result = standin::Scale(picture, width, height, antiAlias, ticks);
      return standin::CallCount("REALYieldToRB");
    };
    EXPECT_EQ(4 + 1, yields(3, 4, false, 1));
    EXPECT_EQ(9 + 1, yields(8, 9, false, -1));
    EXPECT_EQ(3 + 4 * 9, yields(8, 9, true, 1));
    EXPECT_EQ(1, yields(0, 9, false, 1)) << "the last yield comes after a failure too";
    EXPECT_EQ(0, yields(8, 9, true, 0));
  });
}

TEST(Scale, GoesOnWithTheRecordThatANestedCallLeaves) {
  InEveryWorld([](const World& world) {
    test::Random random(34);
    const Bitmap source = RandomBitmap(random, 9, 8);
    const Ref picture = PictureOf(world, source);
    const Ref other = PictureOf(world, RandomBitmap(random, 4, 4));
    for (const bool antiAlias : {false, true}) {
      YieldAlways();
      standin::ClearLog();
      int calls = 0;
      // The third turn of the script calls in with an interval of 0, which ends the yields of both.
      standin::CurrentConfig().onYield = [&] {
        if (++calls == 3) {
          EXPECT_TRUE(standin::Scale(other, 7, 6, antiAlias, 0));
        }
      };
      const Ref result = standin::Scale(picture, 12, 11, antiAlias, 1);
      standin::CurrentConfig().onYield = nullptr;
      EXPECT_EQ(3, calls);
      EXPECT_EQ(
          antiAlias ? SmoothEnlarge(source, 12, 11).pixels : AreaAverage(source, 12, 11, world.top).pixels,
          standin::GetPixels(result));
    }
  });
}

// The first allocations of the smooth enlargement are its work arrays: without one of them there is an area
// average instead; every later one only costs speed.
TEST(Scale, FailedAllocationsChangeNothingElse) {
  if (!standin::AllocatorInterposed()) GTEST_SKIP() << "the allocator can't be made to fail here";
  InEveryWorld([](const World& world) {
    test::Random random(35);
    const Bitmap source = RandomBitmap(random, 7, 6);
    const Ref picture = PictureOf(world, source);
    const auto average = AreaAverage(source, 15, 13, world.top).pixels;
    const auto smooth = SmoothEnlarge(source, 15, 13).pixels;
    for (const bool persistent : {false, true})
      for (const bool antiAlias : {false, true})
        for (int n = 1; n < 12; ++n) {
          standin::Faults faults;
          faults.allocation = n;
          faults.persistent = persistent;
          standin::SetFaults(faults);
          const Ref result = standin::Scale(picture, 15, 13, antiAlias);
          standin::ClearFaults();
          ASSERT_TRUE(result);
          EXPECT_EQ(antiAlias && n > 5 ? smooth : average, standin::GetPixels(result)) << n << persistent;
          EXPECT_EQ(0u, standin::LivePluginBlocks());
        }
  });
}

// Refused locks and pictures one after the other: nil or a right picture, and everything is given back.
TEST(Scale, GivesEverythingBackWhateverFails) {
  InEveryWorld([](const World& world) {
    test::Random random(36);
    const Ref picture = PictureOf(world, RandomBitmap(random, 7, 6));
    if (!world.alpha) standin::SetMask(picture, PictureOf(world, RandomBitmap(random, 7, 6)));
    YieldAlways();
    for (int n = 1; n < 14; ++n)
      for (const int kind : {0, 1, 2, 3}) {
        standin::Faults faults;
        if (kind == 0) faults.lock = n;
        if (kind == 1) faults.picture = n;
        if (kind == 2) faults.instance = n;
        if (kind == 3) faults.shrinkPicture = n;
        standin::SetFaults(faults);
        for (const bool antiAlias : {false, true}) {
          const Ref scaled = standin::Scale(picture, 9, 8, antiAlias, 1);
          EXPECT_EQ(9, scaled ? standin::Width(scaled) : 9);
          const Ref both = standin::ScaleImageAndMask(picture, 9, 8, antiAlias, 1);
          EXPECT_EQ(8, both ? standin::Height(both) : 8);
        }
        standin::ClearFaults();
        ASSERT_EQ("", standin::CheckLedger()) << "fault " << kind << " at " << n;
      }
  });
}

TEST(Scale, LetsPassWhatAYieldThrows) {
  InEveryWorld([](const World& world) {
    test::Random random(37);
    const Ref picture = PictureOf(world, RandomBitmap(random, 4, 4));
    if (!world.alpha) standin::SetMask(picture, PictureOf(world, RandomBitmap(random, 4, 4)));
    for (const bool antiAlias : {false, true})
      for (int n = 1; n < 50; n += 3) {
        YieldAlways();
        standin::Faults faults;
        faults.throwingService = "REALYieldToRB";
        faults.throwAt = n;
        standin::SetFaults(faults);
        Ref result;
        try {
          result = standin::ScaleImageAndMask(picture, 6, 7, antiAlias, 1);
          EXPECT_EQ(0, standin::CountedForFaults().struck);
        } catch (const standin::ServiceException&) {
        }
        standin::ClearFaults();
        result.Release();
        ASSERT_EQ("", standin::CheckLedger()) << "thrown at yield " << n;
      }
  });
}

// Script code scribbles over the source, and drops it.
TEST(Scale, SurvivesWhatScriptCodeDoesToTheSource) {
  InEveryWorld([](const World& world) {
    test::Random random(38);
    for (const bool antiAlias : {false, true})
      for (const bool drops : {false, true}) {
        Ref picture = PictureOf(world, RandomBitmap(random, 9, 9));
        if (!world.alpha) standin::SetMask(picture, PictureOf(world, RandomBitmap(random, 9, 9)));
        YieldAlways();
        standin::CurrentConfig().onYield = [&] {
          if (drops) picture.Release();
          if (picture) standin::SetPixels(picture, random.Pixels(81));
        };
        const void* handle = picture.Get();
        const Ref result = standin::ScaleImageAndMask(picture, 20, 21, antiAlias, 1);
        standin::CurrentConfig().onYield = nullptr;
        ASSERT_TRUE(result);
        EXPECT_TRUE(standin::MaskOf(result)) << "the mask was fetched from a picture that was kept";
        EXPECT_NE(handle, result.Get());
      }
  });
}

TEST(ScaleImageAndMask, ResizesTheMaskLikeTheImage) {
  InEveryWorld([](const World& world) {
    test::Random random(39);
    for (const bool antiAlias : {false, true})
      for (int round = 0; round < 6; ++round) {
        const int width = random.Between(1, 12), height = random.Between(1, 12);
        const Bitmap source = RandomBitmap(random, 6, 6), mask = RandomBitmap(random, 6, 6);
        if (width == 6 && height == 6) continue;
        const Ref picture = PictureOf(world, source);
        if (!world.alpha) standin::SetMask(picture, PictureOf(world, mask));
        const Ref result = standin::ScaleImageAndMask(picture, width, height, antiAlias);
        ASSERT_TRUE(result);
        EXPECT_FALSE(standin::HasAlpha(result));
        ASSERT_TRUE(standin::MaskOf(result));
        if (world.alpha) continue;
        const bool smooth = antiAlias && width > 6 && height > 6;
        const auto scaled = smooth ? SmoothEnlarge(mask, width, height) : AreaAverage(mask, width, height, 0);
        const Bitmap made = BitmapOf(standin::MaskOf(result));
        for (int y = 0; y < height; ++y)
          for (int x = 0; x < width; ++x)
            ASSERT_EQ(scaled.At(x, y) & 0xFFFFFF, made.At(x, y) & 0xFFFFFF) << x << ", " << y;
      }
  });
}

TEST(ScaleImageAndMask, WithoutAMaskThereIsNone) {
  InEveryWorld([](const World& world) {
    if (world.alpha) return;
    test::Random random(40);
    const Ref picture = PictureOf(world, RandomBitmap(random, 6, 6));
    EXPECT_FALSE(standin::MaskOf(standin::ScaleImageAndMask(picture, 3, 3)));
    EXPECT_FALSE(standin::MaskOf(standin::ScaleImageAndMask(picture, 9, 9, true)));
  });
}

}  // namespace
