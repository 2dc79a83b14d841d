#include <cmath>
#include <limits>

#include "tests/effects/effects_world.h"

// Fractional drawing through the stand-in runtime, against the formula pixel by pixel.
namespace {

using namespace test;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::int64_t Truncated(double value) {
  if (std::isnan(value)) return 0;
  return static_cast<std::int64_t>(std::clamp(value, -2147483648.0, 2147483647.0));
}

// Changes `to`, which `source` and `mask` may be as well.
void Draw(Bitmap& to, const Bitmap& source, const Bitmap* mask, double x, double y, double alpha,
          std::uint32_t top) {
  const bool inReach = std::fabs(std::floor(x)) <= 2147483647.0 && std::fabs(std::floor(y)) <= 2147483647.0;
  const double left = std::floor(x), upper = std::floor(y), fx = std::fabs(x - left),
               fy = std::fabs(y - upper);
  struct Neighbour {
    int dx, dy;
    double weight;
  };
  const Neighbour neighbours[] = {{-1, -1, fx * fy * alpha},
                                  {0, -1, (1 - fx) * fy * alpha},
                                  {0, 0, (1 - fx) * (1 - fy) * alpha},
                                  {-1, 0, fx * (1 - fy) * alpha}};
  for (int row = 0; row < to.height; ++row)
    for (int column = 0; column < to.width; ++column) {
      std::int64_t sums[3] = {};
      double rest = 1;
      for (const Neighbour& n : neighbours) {
        if (!inReach) break;
        const double sx = column - left + n.dx, sy = row - upper + n.dy;
        if (sx < 0 || sy < 0 || sx >= source.width || sy >= source.height) continue;
        const int cx = static_cast<int>(sx), cy = static_cast<int>(sy);
        double weight = n.weight;
        if (mask) {
          const bool inside = cx < mask->width && cy < mask->height;
          weight = (255 - (inside ? Channel(mask->At(cx, cy), 2) : 0)) * weight / 255;
        }
        for (int c = 0; c < 3; ++c) sums[c] += Truncated(Channel(source.At(cx, cy), c) * weight);
        rest -= weight;
      }
      std::uint32_t pixel = top;
      for (int c = 0; c < 3; ++c) {
        if (rest > 0) sums[c] += Truncated(Channel(to.At(column, row), c) * rest);
        pixel |= static_cast<std::uint32_t>(std::clamp<std::int64_t>(sums[c], 0, 255)) << 8 * c;
      }
      to.At(column, row) = pixel;
    }
}

struct Placing {
  double x, y, alpha;
};

Placing RandomPlacing(Random& random) {
  Placing p = {random.Between(-20, 30) / 4.0, random.Between(-20, 30) / 4.0, random.Between(0, 10) / 10.0};
  if (random.OneIn(4)) p.x = random.Real(-12, 12);
  if (random.OneIn(3)) p.x = std::floor(p.x), p.y = std::floor(p.y);
  if (random.OneIn(8))
    p.x = random.Pick(std::vector<double>{kNaN, kInfinity, -1e300, 2147483647.5, -2147483648.0, 4e9});
  if (random.OneIn(5))
    p.alpha = random.Pick(std::vector<double>{2, -0.5, 1, kNaN, kInfinity, -1e300, 1e9, 1e-320});
  return p;
}

TEST(Draw, MixesPixelsByTheirWeights) {
  InWorlds({kConsole, kCairo}, [](const World& world) {
    Random random(51);
    AtEveryLevel([&] {
      for (int round = 0; round < 60; ++round) {
        Bitmap to = RandomBitmap(random, random.Between(1, 40), random.Between(1, 12));
        const Bitmap source = RandomBitmap(random, random.Between(1, 40), random.Between(1, 12));
        const int less = random.OneIn(4) ? random.Between(-3, 3) : 0;
        const Bitmap mask =
            RandomBitmap(random, std::max(1, source.width - less), std::max(1, source.height - less));
        const bool masked = random.OneIn(2);
        const Placing p = RandomPlacing(random);
        const Ref destination = PictureOf(to, world.store), picture = PictureOf(source, world.store);
        if (masked) standin::SetMask(picture, PictureOf(mask, world.store));
        const int clears = standin::ClearCacheCount(destination);
        EXPECT_TRUE(standin::DrawPictureF(destination, picture, p.x, p.y, p.alpha));
        Draw(to, source, masked ? &mask : nullptr, p.x, p.y, p.alpha, world.top);
        ASSERT_EQ(to.pixels, standin::GetPixels(destination))
            << p.x << ", " << p.y << " at " << p.alpha << ", masked " << masked << ", round " << round;
        EXPECT_EQ(source.pixels, standin::GetPixels(picture));
        EXPECT_EQ(clears + 1, standin::ClearCacheCount(destination));
        standin::SetMask(picture, Ref());
      }
    });
  });
}

// Large enough for weights to become factors, on a destination that gets opaque everywhere.
TEST(Draw, MixesLargePictures) {
  InWorlds({kCairo}, [](const World&) {
    Random random(52);
    AtEveryLevel([&] {
      for (const Placing p :
           {Placing{10.5, 20.25, 0.7}, Placing{3, 4, 1}, Placing{-7.75, 2.5, 0.35}, Placing{2, 1, 0}}) {
        Bitmap to = RandomBitmap(random, 130, 90);
        const Bitmap source = RandomBitmap(random, 100, 60);
        const Ref destination = AlphaPictureOf(to), picture = AlphaPictureOf(source);
        EXPECT_TRUE(standin::DrawPictureF(destination, picture, p.x, p.y, p.alpha));
        Draw(to, source, nullptr, p.x, p.y, p.alpha, 0xFF000000u);
        ASSERT_EQ(to.pixels, standin::GetPixels(destination)) << p.x << ", " << p.y << " at " << p.alpha;
      }
    });
  });
}

TEST(Draw, DrawsAPictureOntoItselfInOrder) {
  InWorlds({kConsole, kCairo}, [](const World& world) {
    Random random(53);
    AtEveryLevel([&] {
      for (int round = 0; round < 20; ++round) {
        Bitmap pixels = RandomBitmap(random, random.Between(1, 40), random.Between(1, 9));
        const Ref picture = PictureOf(pixels, world.store);
        const bool ownMask = random.OneIn(3);
        if (ownMask) standin::SetMask(picture, picture);
        const Placing p = {random.Between(-8, 8) / 4.0, random.Between(-8, 8) / 4.0, random.Real(0, 1)};
        EXPECT_TRUE(standin::DrawPictureF(picture, picture, p.x, p.y, p.alpha));
        Draw(pixels, pixels, ownMask ? &pixels : nullptr, p.x, p.y, p.alpha, world.top);
        ASSERT_EQ(pixels.pixels, standin::GetPixels(picture))
            << p.x << ", " << p.y << ", own mask " << ownMask;
        EXPECT_EQ(0, standin::LockCount(picture));
        standin::SetMask(picture, Ref());
      }
    });
  });
}

// A copy of a drawable can be read from but not drawn into, neither as destination nor as mask.
TEST(Draw, ReadsPixmapsAndRefusesToChangeThem) {
  InWorlds({kGdk}, [](const World& world) {
    Random random(54);
    Bitmap to = RandomBitmap(random, 300, 5);
    const Bitmap source = RandomBitmap(random, 290, 4);
    const Ref pixmap = PictureOf(source, world.store), surface = PictureOf(to, standin::Store::kCairo);
    EXPECT_TRUE(standin::DrawPictureF(surface, pixmap, 2.25, 0.5, 0.8));
    Draw(to, source, nullptr, 2.25, 0.5, 0.8, 0xFF000000u);
    EXPECT_EQ(to.pixels, standin::GetPixels(surface));
    EXPECT_FALSE(standin::DrawPictureF(pixmap, surface, 1, 1));
    standin::SetMask(surface, pixmap);
    EXPECT_FALSE(standin::DrawPictureF(PictureOf(to, standin::Store::kCairo), surface, 1, 1));
    standin::SetMask(surface, Ref());
    EXPECT_EQ(to.pixels, standin::GetPixels(surface));
  });
}

TEST(Draw, RaisesForNil) {
  InWorlds({kConsole}, [](const World& world) {
    Random random(55);
    const Ref picture = PictureOf(RandomBitmap(random, 3, 3), world.store);
    const auto message = [](const Ref& to, const Ref& from) -> std::string {
      try {
        standin::DrawPictureF(to, from, 0, 0, 1, 1);
      } catch (const standin::RuntimeException& e) {
        return e.ClassName() + ": " + e.Message();
      }
      return "";
    };
    EXPECT_EQ("NilObjectException: source is nil", message(Ref(), picture));
    EXPECT_EQ("NilObjectException: source is nil", message(Ref(), Ref()));
    EXPECT_EQ("NilObjectException: picture is nil", message(picture, Ref()));
  });
}

TEST(Draw, YieldsOncePerRowAndTwiceAround) {
  InWorlds({kConsole}, [](const World& world) {
    Random random(56);
    const Ref to = PictureOf(RandomBitmap(random, 5, 11), world.store);
    const Ref from = PictureOf(RandomBitmap(random, 3, 3), world.store);
    for (const int interval : {1, -1, 0}) {
      YieldAlways();
      EXPECT_TRUE(standin::DrawPictureF(to, from, 1.5, 1.5, 1, interval));
      EXPECT_EQ(interval ? 11 + 2 : 0, Yields());
    }
  });
}

// Locks refused one after the other (mask, destination, picture) and yields that throw.
TEST(Draw, GivesEverythingBackWhateverFailsOrThrows) {
  InWorlds({kConsole, kCairo}, [](const World& world) {
    Random random(57);
    const Bitmap pixels = RandomBitmap(random, 5, 4);
    const Ref to = PictureOf(pixels, world.store), from = PictureOf(pixels, world.store);
    standin::SetMask(from, PictureOf(pixels, world.store));
    for (int n = 1; n < 12; ++n)
      for (const bool throws : {false, true}) {
        YieldAlways();
        standin::SetPixels(to, pixels.pixels);
        standin::Faults faults;
        faults.lock = throws ? 0 : n;
        faults.persistent = !throws;
        faults.throwingService = throws ? "REALYieldToRB" : "";
        faults.throwAt = throws ? n : 0;
        standin::SetFaults(faults);
        bool done = false;
        try {
          done = standin::DrawPictureF(to, from, 1.5, 1.5, 1, 1);
        } catch (const standin::ServiceException&) {
        }
        const bool struck = standin::CountedForFaults().struck > 0;
        standin::ClearFaults();
        EXPECT_EQ(!struck, done) << n;
        if (struck && !throws) {
          EXPECT_EQ(pixels.pixels, standin::GetPixels(to)) << n;
          EXPECT_EQ(0, Yields()) << n;
        }
        ASSERT_EQ("", standin::CheckLedger()) << n << throws;
      }
    standin::SetMask(from, Ref());
  });
}

TEST(Draw, LetsGoInTheReverseOrderOfOpening) {
  InWorlds({kConsole}, [](const World& world) {
    Random random(58);
    const Bitmap pixels = RandomBitmap(random, 5, 4);
    const Ref to = PictureOf(pixels, world.store), from = PictureOf(pixels, world.store);
    const Ref mask = PictureOf(pixels, world.store);
    standin::SetMask(from, mask);
    standin::EnableLog(true);
    standin::ClearLog();
    EXPECT_TRUE(standin::DrawPictureF(to, from, 1.5, 1.5));
    std::vector<std::uintptr_t> opened, closed;
    for (const standin::Call& call : standin::Calls()) {
      const std::string service = call.service;
      if (service == "REALLockPictureDescription") opened.push_back(call.words[0]);
      if (service == "unlockPictureDescription") closed.push_back(call.words[0]);
    }
    const auto address = [](const Ref& picture) { return reinterpret_cast<std::uintptr_t>(picture.Get()); };
    EXPECT_EQ((std::vector<std::uintptr_t>{address(mask), address(to), address(from)}), opened);
    EXPECT_EQ((std::vector<std::uintptr_t>{address(from), address(to), address(mask)}), closed);
    standin::SetMask(from, Ref());
  });
}

}  // namespace
