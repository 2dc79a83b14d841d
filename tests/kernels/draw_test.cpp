#include "kernels/draw_mask_tables.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kernels/levels.h"
#include "tests/support/fence.h"
#include "tests/support/random.h"

namespace pixmorph::kernels {
namespace {

class DrawLevel : public testing::TestWithParam<Level> {
 protected:
  void SetUp() override {
    if (GetParam() > BestLevel()) GTEST_SKIP() << "this processor lacks the level";
  }
  const DrawKernels& Kernels() const { return *TableOf(GetParam()).draw; }
};

std::string Name(const testing::TestParamInfo<Level>& info) { return TableOf(info.param).name; }
INSTANTIATE_TEST_SUITE_P(Levels, DrawLevel,
                         testing::Values(Level::kScalar, Level::kSse2, Level::kSse41, Level::kAvx2,
                                         Level::kAvx512),
                         Name);

double RandomOpacity(test::Random& random) {
  switch (random.Between(0, 6)) {
    case 0:
      return 1;
    case 1:
      return 0;
    case 2:
      return random.Between(1, 20) / 10.0;
    case 3:
      return -random.Real(0, 2);
    case 4: {
      const std::vector<double> odd = {1e9,          -1e300, std::numeric_limits<double>::infinity(),
                                       std::nan(""), 1e-310, 999};
      return random.Pick(odd);
    }
    default:
      return random.Real(0, 1);
  }
}

double RandomShare(test::Random& random) {
  if (random.OneIn(4)) return 0.5;
  return random.OneIn(3) ? 0 : random.OneIn(2) ? random.Between(1, 19) / 20.0 : random.Real(0, 1);
}

MaskTables tables;

DrawPlan RandomPlan(test::Random& random) {
  DrawPlan plan{};
  plan.maskTables = random.OneIn(8) ? nullptr : &tables;
  plan.destination = random.OneIn(2) ? PixelLayout::kBgrx0 : PixelLayout::kBgrxF;
  plan.source = random.OneIn(3) ? PixelLayout::kRgb24 : PixelLayout::kBgrxF;
  plan.destinationWidth = random.Between(1, random.OneIn(5) ? 700 : 70);
  plan.sourceWidth = random.Between(1, random.OneIn(5) ? 700 : 70);
  plan.left = random.OneIn(20) ? (random.OneIn(2) ? INT32_MIN : INT32_MAX)
                               : random.Between(-plan.sourceWidth - 2, plan.destinationWidth + 2);
  plan.masked = random.OneIn(2);
  plan.mask = plan.masked ? PixelLayout::kBgrx0 : PixelLayout::kNone;
  plan.maskWidth = !plan.masked      ? 0
                   : random.OneIn(4) ? random.Between(1, 80)
                                     : plan.sourceWidth + random.Between(0, 3);
  const double fx = RandomShare(random), fy = RandomShare(random), alpha = RandomOpacity(random);
  plan.weights[kUpperLeft] = fx * fy * alpha;
  plan.weights[kUpperRight] = (1 - fx) * fy * alpha;
  plan.weights[kLowerRight] = (1 - fx) * (1 - fy) * alpha;
  plan.weights[kLowerLeft] = fx * (1 - fy) * alpha;
  FinishDrawPlan(&plan, random.OneIn(2) ? 1000000 : 1);
  return plan;
}

std::unique_ptr<test::Fence> RandomRow(test::Random& random, int pixels, int bytes) {
  const auto at = random.OneIn(2) ? test::Fence::At::kEnd : test::Fence::At::kStart;
  auto row = std::make_unique<test::Fence>(static_cast<std::size_t>(pixels * bytes), at);
  for (std::size_t i = 0; i < row->Size(); ++i)
    row->Data()[i] = random.OneIn(4) ? static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0) : random.Byte();
  return row;
}

// Stretches that are shown or hidden as a whole, and others.
std::unique_ptr<test::Fence> RandomMask(test::Random& random, int pixels) {
  auto row = RandomRow(random, pixels, 4);
  for (int x = 0; x < pixels;) {
    const int end = std::min(pixels, x + random.Between(1, 80)), kind = random.Between(0, 2);
    for (; x < end; ++x)
      if (kind > 0) row->Data()[4 * x + 2] = kind == 1 ? 0 : 255;
  }
  return row;
}

::testing::AssertionResult SameRow(const std::uint8_t* expected, const std::uint8_t* got, int width) {
  for (int i = 0; i < width * 4; ++i)
    if (expected[i] != got[i])
      return testing::AssertionFailure() << "pixel " << i / 4 << ", byte " << i % 4 << ": " << int{got[i]}
                                         << ", not " << int{expected[i]};
  return testing::AssertionSuccess();
}

TEST_P(DrawLevel, GivesWhatTheFormulaGives) {
  test::Random random(3);
  int quick = 0, tabled = 0;
  for (int round = 0; round < 1500; ++round) {
    const DrawPlan plan = RandomPlan(random);
    quick += plan.quick ? 1 : 0;
    tabled += plan.tabled ? 1 : 0;
    const auto to = RandomRow(random, plan.destinationWidth, 4);
    const auto upper = RandomRow(random, plan.sourceWidth, BytesPerPixel(plan.source));
    const auto lower = RandomRow(random, plan.sourceWidth, BytesPerPixel(plan.source));
    const auto upperMask = RandomMask(random, plan.maskWidth),
               lowerMask = random.OneIn(2) ? RandomMask(random, plan.maskWidth) : nullptr;
    DrawRows rows = {to->Data(), upper->Data(), lower->Data(), upperMask->Data(),
                     (lowerMask ? lowerMask : upperMask)->Data()};
    if (random.OneIn(6)) rows.upper = nullptr;
    if (random.OneIn(6)) rows.lower = nullptr;
    if (!plan.masked || random.OneIn(8)) rows.upperMask = nullptr;
    if (!plan.masked || random.OneIn(8)) rows.lowerMask = nullptr;
    std::vector<std::uint8_t> expected(to->Data(), to->Data() + to->Size());
    DrawRows plain = rows;
    plain.destination = expected.data();
    ref::DrawRow(plan, plain);
    Kernels().drawRow(plan, rows);
    ASSERT_TRUE(SameRow(expected.data(), to->Data(), plan.destinationWidth))
        << "round " << round << ": source " << plan.sourceWidth << " at " << plan.left << " in "
        << plan.destinationWidth << ", weights " << plan.weights[0] << " " << plan.weights[1] << " "
        << plan.weights[2] << " " << plan.weights[3] << ", mask " << plan.maskWidth << ", quick "
        << plan.quick;
  }
  EXPECT_GT(quick, 100) << "the quick way was hardly tried";
  EXPECT_GT(tabled, 100) << "the tables were hardly tried";
}

// A picture drawn onto itself: what was drawn is read again further right.
TEST_P(DrawLevel, DrawsARowOntoItselfFromLeftToRight) {
  test::Random random(4);
  for (int round = 0; round < 200; ++round) {
    DrawPlan plan = RandomPlan(random);
    plan.source = plan.destination;
    plan.masked = random.OneIn(2);
    plan.mask = plan.masked ? plan.destination : PixelLayout::kNone;
    plan.sourceWidth = plan.destinationWidth;
    plan.maskWidth = plan.masked ? plan.destinationWidth : 0;
    plan.left = random.Between(-3, 3);
    FinishDrawPlan(&plan, 1000000);
    const auto row = RandomRow(random, plan.destinationWidth, 4),
               other = RandomRow(random, plan.destinationWidth, 4);
    std::vector<std::uint8_t> expected(row->Data(), row->Data() + row->Size());
    const auto rowsOver = [&](std::uint8_t* own) {
      DrawRows rows = {own, own, other->Data(), nullptr, nullptr};
      if (plan.masked) rows.upperMask = rows.lowerMask = own;
      return rows;
    };
    ref::DrawRow(plan, rowsOver(expected.data()));
    Kernels().drawRow(plan, rowsOver(row->Data()));
    ASSERT_TRUE(SameRow(expected.data(), row->Data(), plan.destinationWidth)) << "round " << round;
  }
}

// Tenths and quarters make products that are whole numbers but for the weights' rounding: where factors are
// claimed, they have to be right for every colour.
TEST(DrawPlan, FactorsGiveEveryTruncatedProduct) {
  int quick = 0, all = 0;
  for (int fx = 0; fx < 20; ++fx)
    for (int fy = 0; fy < 20; ++fy)
      for (int tenths = 1; tenths <= 10; ++tenths) {
        const double x = fx / 20.0, y = fy / 20.0, alpha = tenths / 10.0;
        DrawPlan plan{};
        const double weights[5] = {
            x * y * alpha, (1 - x) * y * alpha, (1 - x) * (1 - y) * alpha, x * (1 - y) * alpha,
            1.0 - x * y * alpha - (1 - x) * y * alpha - (1 - x) * (1 - y) * alpha - x * (1 - y) * alpha};
        std::memcpy(plan.weights, weights, sizeof plan.weights);
        FinishDrawPlan(&plan, 1000000);
        ++all;
        if (!plan.quick) continue;
        ++quick;
        for (int i = 0; i < 5; ++i)
          for (int colour = 0; colour < 256; ++colour)
            ASSERT_EQ(static_cast<int>(colour * weights[i]), colour * plan.factors[i] >> 16 >> plan.shifts[i])
                << colour << " * " << weights[i];
      }
  RecordProperty("quick", quick);
  EXPECT_GT(quick, all / 2);
}

// Whatever hides how much of it.
TEST(DrawPlan, MaskTablesGiveEveryTruncatedProduct) {
  test::Random random(7);
  int without = 0;
  for (int round = 0; round < 40; ++round) {
    const double x = RandomShare(random), y = RandomShare(random), alpha = random.Between(1, 10) / 10.0;
    const double weights[4] = {x * y * alpha, (1 - x) * y * alpha, (1 - x) * (1 - y) * alpha,
                               x * (1 - y) * alpha};
    ASSERT_TRUE(FillMaskTables(weights, &tables));
    for (int i = 0; i < 4; ++i)
      for (int hidden = 0; hidden < 256; ++hidden) {
        const std::uint64_t entry = tables.factors[i][hidden];
        const bool none = entry >> 48 != 0;
        without += none ? 1 : 0;
        const double weight = (255 - hidden) * weights[i] / 255;
        for (int colour = 0; colour < 256 && !none; ++colour)
          ASSERT_EQ(static_cast<int>(colour * weight), colour * static_cast<int>(entry & 0xFFFF) >> 16)
              << colour << " * " << weight;
      }
  }
  EXPECT_LT(without, 40 * 4 * 256 / 20);
}

TEST(DrawLevels, AreFunctionsOfTheirOwn) {
  std::set<const void*> functions;
  for (int level = 0; level < kLevelCount; ++level)
    functions.insert(reinterpret_cast<const void*>(TableOf(static_cast<Level>(level)).draw->drawRow));
  EXPECT_EQ(static_cast<std::size_t>(kLevelCount), functions.size());
}

}  // namespace
}  // namespace pixmorph::kernels
