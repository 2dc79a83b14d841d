#include <cmath>
#include <limits>

#include "tests/effects/effects_world.h"

// The blur through the stand-in runtime, against sums over the whole box.
namespace {

using namespace test;

int AverageOf(const std::vector<int>& line, int at, int radius) {
  const int last = static_cast<int>(line.size()) - 1;
  std::int64_t sum = 0;
  for (int i = at - radius; i <= at + radius; ++i)
    sum += line[static_cast<std::size_t>(std::clamp(i, 0, last))];
  return static_cast<int>(sum / (2 * radius + 1));
}

Bitmap Blurred(const Bitmap& source, int radius, std::uint32_t top) {
  Bitmap down = source, across = source;
  const auto put = [](std::uint32_t& pixel, int channel, int value) {
    pixel = (pixel & ~(0xFFu << 8 * channel)) | static_cast<std::uint32_t>(value) << 8 * channel;
  };
  for (int channel = 0; channel < 3; ++channel) {
    for (int x = 0; x < source.width; ++x) {
      std::vector<int> line;
      for (int y = 0; y < source.height; ++y) line.push_back(Channel(source.At(x, y), channel));
      for (int y = 0; y < source.height; ++y) put(down.At(x, y), channel, AverageOf(line, y, radius));
    }
    for (int y = 0; y < source.height; ++y) {
      std::vector<int> line;
      for (int x = 0; x < source.width; ++x) line.push_back(Channel(down.At(x, y), channel));
      for (int x = 0; x < source.width; ++x) put(across.At(x, y), channel, AverageOf(line, x, radius));
    }
  }
  for (auto& pixel : across.pixels) pixel = (pixel & 0xFFFFFF) | top;
  return across;
}

TEST(Blur, MakesTruncatedAveragesInEveryStore) {
  InWorlds({kConsole, kCairo, kGdk}, [](const World& world) {
    Random random(41);
    AtEveryLevel([&] {
      for (int round = 0; round < 8; ++round) {
        const Bitmap source = RandomBitmap(random, random.Between(1, 45), random.Between(1, 25));
        const double radius = random.OneIn(3) ? random.Between(130, 300) : random.Real(1, 30);
        const Ref picture = PictureOf(source, world.store);
        const Ref result = standin::Blur(picture, radius);
        ASSERT_TRUE(result);
        EXPECT_EQ(Blurred(source, static_cast<int>(radius), world.top).pixels, standin::GetPixels(result))
            << source.width << "x" << source.height << ", radius " << radius;
        EXPECT_EQ(1, standin::ReferenceCount(result.Get()));
        EXPECT_EQ(0, standin::LockCount(picture));
      }
    });
  });
}

TEST(Blur, LeavesOutAlphaAndMask) {
  InWorlds({kCairo}, [](const World& world) {
    Random random(42);
    const Bitmap source = RandomBitmap(random, 9, 7);
    const Ref alpha = AlphaPictureOf(source), masked = PictureOf(source, world.store);
    standin::SetMask(masked, PictureOf(RandomBitmap(random, 9, 7), world.store));
    for (const Ref& picture : {alpha, masked}) {
      const Ref result = standin::Blur(picture, 2);
      EXPECT_EQ(Blurred(source, 2, world.top).pixels, standin::GetPixels(result));
      EXPECT_FALSE(standin::HasAlpha(result));
      EXPECT_FALSE(standin::MaskOf(result));
    }
    standin::SetMask(masked, Ref());
  });
}

TEST(Blur, RadiiBelowOneGiveThePictureItself) {
  InWorlds({kConsole}, [](const World& world) {
    Random random(43);
    const Ref picture = PictureOf(RandomBitmap(random, 4, 4), world.store);
    for (const double radius : {0.99, 0.0, -3.0, -1e300, std::nan("")}) {
      EXPECT_EQ(picture, standin::Blur(picture, radius, 1)) << radius;
      EXPECT_FALSE(standin::Blur(Ref(), radius, 1)) << radius;
    }
    EXPECT_FALSE(standin::Blur(Ref(), 1, 1));
    EXPECT_EQ(0, Yields());
  });
}

// Radii whose table could not even be addressed: no pass, one yield at the end, the picture as it was made.
TEST(Blur, ImpossibleRadiiGiveAnUntouchedPicture) {
  InWorlds({kConsole}, [](const World& world) {
    Random random(44);
    const Bitmap source = RandomBitmap(random, 5, 3);
    const Ref picture = PictureOf(source, world.store);
    for (const double radius : {1048575.0, 2147483647.0, 2147483648.0, 4294967297.0, 1e300,
                                std::numeric_limits<double>::infinity()}) {
      YieldAlways();
      const Ref result = standin::Blur(picture, radius, 1);
      ASSERT_TRUE(result) << radius;
      EXPECT_EQ(std::vector<std::uint32_t>(15, 0), standin::GetPixels(result)) << radius;
      EXPECT_EQ(1, Yields()) << radius;
    }
  });
}

TEST(Blur, YieldsOncePerRowOfEachPassAndAtBothEnds) {
  InWorlds({kConsole, kCairo}, [](const World& world) {
    Random random(45);
    const Ref picture = PictureOf(RandomBitmap(random, 6, 13), world.store);
    for (const int interval : {1, -1, 0}) {
      YieldAlways();
      const Ref result = standin::Blur(picture, 3, interval);
      EXPECT_EQ(interval == 0 ? 0 : 2 * 13 + 2, Yields());
    }
  });
}

// The five buffers one after the other; whatever is asked for beyond them only costs speed.
TEST(Blur, FailedAllocationsSkipThePassesOrChangeNothing) {
  if (!standin::AllocatorInterposed()) GTEST_SKIP() << "the allocator can't be made to fail here";
  InWorlds({kConsole, kCairo}, [](const World& world) {
    Random random(46);
    const Bitmap source = RandomBitmap(random, 7, 6);
    const Ref picture = PictureOf(source, world.store);
    const auto blurred = Blurred(source, 2, world.top).pixels;
    for (int n = 1; n < 9; ++n)
      for (const bool persistent : {false, true}) {
        YieldAlways();
        standin::Faults faults;
        faults.allocation = n;
        faults.persistent = persistent;
        standin::SetFaults(faults);
        const Ref result = standin::Blur(picture, 2, 1);
        standin::ClearFaults();
        ASSERT_TRUE(result) << n;
        EXPECT_EQ(n > 5 ? blurred : std::vector<std::uint32_t>(42, 0), standin::GetPixels(result)) << n;
        EXPECT_EQ(n > 5 ? 2 * 6 + 2 : 1, Yields()) << n;
        EXPECT_EQ(0u, standin::LivePluginBlocks()) << n;
      }
  });
}

TEST(Blur, GivesEverythingBackWhateverFailsOrThrows) {
  InWorlds({kConsole, kCairo}, [](const World& world) {
    Random random(47);
    const Ref picture = PictureOf(RandomBitmap(random, 7, 6), world.store);
    for (int n = 1; n < 17; ++n)
      for (const int kind : {0, 1, 2, 3}) {
        YieldAlways();
        standin::Faults faults;
        if (kind == 0) faults.lock = n;
        if (kind == 1) faults.picture = n;
        if (kind == 2) faults.shrinkPicture = n;
        if (kind == 3) {
          faults.throwingService = "REALYieldToRB";
          faults.throwAt = n;
        }
        standin::SetFaults(faults);
        Ref result;
        bool thrown = false;
        try {
          result = standin::Blur(picture, 2, 1);
        } catch (const standin::ServiceException&) {
          thrown = true;
        }
        // A refused lock may still leave another way to the pixels.
        const bool struck = standin::CountedForFaults().struck > 0;
        if (kind == 0)
          EXPECT_TRUE(result || struck) << n;
        else
          EXPECT_EQ(!struck, static_cast<bool>(result)) << kind << " " << n;
        EXPECT_EQ(kind == 3 && n <= 14, thrown) << n;
        standin::ClearFaults();
        result.Release();
        ASSERT_EQ("", standin::CheckLedger()) << "fault " << kind << " at " << n;
        ASSERT_EQ(0u, standin::LivePluginBlocks()) << "fault " << kind << " at " << n;
      }
  });
}

// Script code paints on the source, drops it and blurs another picture in between.
TEST(Blur, SurvivesWhatScriptCodeDoesMeanwhile) {
  InWorlds({kConsole, kCairo}, [](const World& world) {
    Random random(48);
    const Bitmap other = RandomBitmap(random, 5, 5);
    const auto expected = Blurred(other, 1, world.top).pixels;
    AtEveryLevel([&] {
      for (const double radius : {1.0, 40.0, 200.0}) {
        Ref picture = PictureOf(RandomBitmap(random, 40, 9), world.store);
        YieldAlways();
        int turn = 0;
        standin::CurrentConfig().onYield = [&] {
          ++turn;
          if (turn > 1 && picture)
            standin::SetPixels(picture, std::vector<std::uint32_t>(360, turn % 2 ? 0 : ~0u));
          if (turn == 9) {
            picture.Release();
            EXPECT_EQ(expected, standin::GetPixels(standin::Blur(PictureOf(other, world.store), 1)));
          }
        };
        const Ref result = standin::Blur(picture, radius, 1);
        standin::CurrentConfig().onYield = nullptr;
        ASSERT_TRUE(result);
        for (const std::uint32_t pixel : standin::GetPixels(result))
          ASSERT_EQ(world.top, pixel & 0xFF000000u);
      }
    });
  });
}

}  // namespace
