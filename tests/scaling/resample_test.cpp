#include "scaling/resample.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "host/resolver.h"
#include "kernels/levels.h"
#include "scaling/filters.h"
#include "standin/clock.h"
#include "standin/display.h"
#include "standin/faults.h"
#include "standin/ledger.h"
#include "standin/methods.h"
#include "standin/picture.h"
#include "standin/runtime.h"
#include "tests/support/fresh_process.h"
#include "tests/support/random.h"

extern "C" void REALPluginMain(pixmorph::REALResolver resolver);

// The whole method through the stand-in runtime, against a second evaluation of the formula.
namespace {

using Pixels = std::vector<std::uint32_t>;
using standin::Ref;

struct Tap {
  double weight;
  int pixel;
};
struct List {
  std::vector<Tap> taps;
  double sum = 0;
};

std::vector<List> ListsOf(int mode, int length, int newLength) {
  const pixmorph::Filter& filter = pixmorph::FilterOfMode(mode);
  const double scale = static_cast<double>(newLength) / length;
  std::vector<List> lists(static_cast<std::size_t>(newLength));
  for (int i = 0; i < newLength; ++i) {
    List& list = lists[static_cast<std::size_t>(i)];
    double sum = 0;
    const double centre = (i + 0.5) / scale;
    for (int j = 0; j < length; ++j) {
      const double distance = centre - j - 0.5;
      const double weight = filter.weight(std::fabs(scale < 1 ? distance * scale : distance));
      if (weight == 0) continue;
      list.taps.push_back({static_cast<float>(weight), j});
      sum += weight;
    }
    list.sum = static_cast<float>(sum);
  }
  return lists;
}

// Resamples lines of samples `step` apart; `at` gives the first sample of line n.
std::uint32_t Sample(const List& list, const std::uint32_t* first, int step) {
  std::uint32_t word = 0;
  for (int shift = 0; shift <= 16; shift += 8) {
    double sum = 0;
    for (const Tap& tap : list.taps) sum += tap.weight * ((first[tap.pixel * step] >> shift) & 0xFF);
    const double rounded = std::trunc(sum / list.sum + 0.5);
    word |= static_cast<std::uint32_t>(std::min(255.0, std::max(0.0, rounded))) << shift;
  }
  return word;
}

Pixels Expected(int mode, const Pixels& source, int width, int height, int newWidth, int newHeight,
                std::uint32_t top) {
  const std::vector<List> across = ListsOf(mode, width, newWidth), down = ListsOf(mode, height, newHeight);
  Pixels between, result;
  for (int y = 0; y < height; ++y)
    for (const List& list : across) between.push_back(Sample(list, source.data() + y * width, 1));
  for (const List& list : down)
    for (int x = 0; x < newWidth; ++x) result.push_back(Sample(list, between.data() + x, newWidth) | top);
  return result;
}

standin::Config ConfigFor(standin::Mode mode) {
  standin::Config config;
  config.mode = mode;
  return config;
}

void StartRuntime(standin::Mode mode) {
  standin::Start(ConfigFor(mode));
  standin::AttachPluginEntry(&REALPluginMain);
  standin::ClearLog();
}

Ref PictureOf(const Pixels& pixels, int width, int height, const standin::StoreOptions& store) {
  Ref picture = standin::NewPicture(width, height, store);
  standin::SetPixels(picture, pixels);
  return picture;
}

void CompareAllModes(standin::Mode mode, const standin::StoreOptions& store, std::uint32_t top) {
  StartRuntime(mode);
  test::Random random(static_cast<std::uint64_t>(mode) + 11);
  for (int round = 0; round < 42; ++round) {
    const int filter = 1 + round % 7, width = random.Between(1, 30), height = random.Between(1, 24);
    const int newWidth = random.OneIn(4) ? width : random.Between(1, 50);
    const int newHeight = random.OneIn(4) ? height : random.Between(1, 40);
    const Pixels pixels = random.Pixels(width * height);
    const Ref source = PictureOf(pixels, width, height, store);
    const Pixels before = standin::GetPixels(source);
    pixmorph::kernels::ForceLevel(
        static_cast<pixmorph::kernels::Level>(round % pixmorph::kernels::kLevelCount));
    const Ref result = standin::Scaling(source, filter, newWidth, newHeight);
    ASSERT_TRUE(result);
    ASSERT_EQ(newWidth, standin::Width(result));
    ASSERT_EQ(newHeight, standin::Height(result));
    EXPECT_EQ(Expected(filter, pixels, width, height, newWidth, newHeight, top), standin::GetPixels(result))
        << "mode " << filter << ", " << width << "x" << height << " to " << newWidth << "x" << newHeight
        << ", level " << pixmorph::kernels::Kernels().name;
    EXPECT_EQ(before, standin::GetPixels(source));
  }
  EXPECT_EQ("", standin::CheckLedger());
}

standin::StoreOptions Guarded(standin::Store store, int extraStride) {
  standin::StoreOptions options;
  options.store = store;
  options.guard = standin::Guard::kRows;
  options.extraStrideBytes = extraStride;
  options.scrambledRows = store == standin::Store::kBitmap;
  return options;
}

TEST(ScalingMethod, FollowsTheFormulaOnSurfaces) {
  EXPECT_TRUE(test::PassesInChild(
      [] { CompareAllModes(standin::Mode::kCairo, Guarded(standin::Store::kCairo, 12), 0xFF000000u); }));
}

TEST(ScalingMethod, FollowsTheFormulaOnBitmaps) {
  EXPECT_TRUE(test::PassesInChild(
      [] { CompareAllModes(standin::Mode::kConsole, Guarded(standin::Store::kBitmap, 0), 0); }));
}

TEST(ScalingMethod, FollowsTheFormulaOnPixmaps) {
  standin::OwnDisplay display;
  EXPECT_TRUE(test::PassesInChild([] {
    standin::StoreOptions store;
    store.store = standin::Store::kGdk;
    CompareAllModes(standin::Mode::kGdk, store, 0);
  }));
}

class ScalingCalls : public testing::Test {
 protected:
  static constexpr int kWidth = 9, kHeight = 7;

  void SetUp() override {
    StartRuntime(standin::Mode::kCairo);
    source_ = PictureOf(test::Random(3).Pixels(kWidth * kHeight), kWidth, kHeight, {});
  }
  void TearDown() override {
    standin::ClearFaults();
    standin::UseSystemClock();
    EXPECT_EQ("", standin::CheckLedger());
  }
  static int Yields() { return standin::CallCount("REALYieldToRB"); }

  Ref source_;
};

TEST_F(ScalingCalls, RefuseWhatIsOutOfRange) {
  const int cases[][3] = {{0, 4, 4}, {8, 4, 4}, {-1, 4, 4}, {1, 0, 4}, {1, 4, 0}, {3, -5, 4}, {1, 32768, 4}};
  for (const auto& c : cases)
    EXPECT_FALSE(standin::Scaling(source_, c[0], c[1], c[2])) << c[0] << " " << c[1];
  EXPECT_FALSE(standin::Scaling(Ref(), 1, 4, 4));
}

TEST_F(ScalingCalls, YieldAtEveryPhaseAndRow) {
  standin::SetClock(1000);
  standin::SetClockStep(1);
  const int sizes[][2] = {{5, 4}, {4, 11}, {9, 7}, {30, 29}};
  for (const auto& size : sizes) {
    for (const int interval : {1, -1, 0}) {
      standin::ClearLog();
      EXPECT_TRUE(standin::Scaling(source_, 3, size[0], size[1], interval));
      EXPECT_EQ(interval == 0 ? 0 : size[1] + 7, Yields()) << size[0] << "x" << size[1] << ", " << interval;
    }
  }
}

TEST_F(ScalingCalls, SurviveScriptCodeThatDrawsAndResizes) {
  standin::SetClock(1000);
  standin::SetClockStep(1);
  test::Random random(5);
  int depth = 0;
  standin::CurrentConfig().onYield = [&] {
    standin::SetPixels(source_, random.Pixels(kWidth * kHeight));
    if (++depth == 1) {
      EXPECT_TRUE(standin::Scaling(source_, 4, 6, 5, 1));
    }
    --depth;
  };
  for (int mode = 1; mode <= 7; ++mode) EXPECT_TRUE(standin::Scaling(source_, mode, 14, 12, 1));
}

TEST_F(ScalingCalls, GiveEverythingBackWhenAYieldThrows) {
  standin::SetClock(1000);
  standin::SetClockStep(1);
  for (int n = 1; n <= 5 + 7; ++n) {
    standin::Faults faults;
    faults.throwingService = "REALYieldToRB";
    faults.throwAt = n;
    standin::SetFaults(faults);
    EXPECT_THROW(standin::Scaling(source_, 5, 12, 5, 1), standin::ServiceException) << n;
    standin::ClearFaults();
    EXPECT_EQ("", standin::CheckLedger()) << n;
  }
}

// What a missing allocation may do: nothing at all, one black column, one black row, or no picture.
enum class Damage { kNone, kColumn, kRow, kNoPicture, kOther };

Damage DamageOf(const Ref& result, const Pixels& whole, int width, int height) {
  if (!result) return Damage::kNoPicture;
  const Pixels got = standin::GetPixels(result);
  if (got == whole) return Damage::kNone;
  for (int x = 0; x < width; ++x) {
    Pixels damaged = whole;
    for (int y = 0; y < height; ++y) damaged[static_cast<std::size_t>(y * width + x)] = 0xFF000000u;
    if (damaged == got) return Damage::kColumn;
  }
  for (int y = 0; y < height; ++y) {
    Pixels damaged = whole;
    std::fill_n(damaged.begin() + y * width, width, 0xFF000000u);
    if (damaged == got) return Damage::kRow;
  }
  return Damage::kOther;
}

TEST_F(ScalingCalls, KeepTheirOutcomesWithoutMemory) {
  if (!standin::AllocatorInterposed()) GTEST_SKIP() << "allocations can't be made to fail here";
  const int sizes[][2] = {{5, 12}, {12, 5}, {4, 4}};
  for (const auto& size : sizes) {
    const int width = size[0], height = size[1];
    const Pixels whole = standin::GetPixels(standin::Scaling(source_, 3, width, height));
    int counts[5] = {};
    for (int n = 1; n < 500; ++n) {
      standin::Faults faults;
      faults.allocation = n;
      standin::SetFaults(faults);
      const Ref result = standin::Scaling(source_, 3, width, height);
      const bool struck = standin::CountedForFaults().struck > 0;
      standin::ClearFaults();
      if (!struck) break;
      const Damage damage = DamageOf(result, whole, width, height);
      EXPECT_NE(Damage::kOther, damage) << n;
      ++counts[static_cast<int>(damage)];
      EXPECT_EQ("", standin::CheckLedger()) << n;
    }
    EXPECT_EQ(width, counts[static_cast<int>(Damage::kColumn)]);
    EXPECT_EQ(height, counts[static_cast<int>(Damage::kRow)]);
    // The intermediate and the table or tables.
    EXPECT_EQ(width < height ? 3 : 2, counts[static_cast<int>(Damage::kNoPicture)]);
  }
}

}  // namespace
