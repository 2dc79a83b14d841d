#include "kernels/blur_kernel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "kernels/levels.h"
#include "tests/support/fence.h"
#include "tests/support/random.h"

namespace pixmorph::kernels {
namespace {

using Pixels = std::vector<std::uint32_t>;

class BlurLevel : public testing::TestWithParam<Level> {
 protected:
  void SetUp() override {
    if (GetParam() > BestLevel()) GTEST_SKIP() << "this processor lacks the level";
  }
  const BlurKernels& Kernels() const { return *TableOf(GetParam()).blur; }
};

std::string Name(const testing::TestParamInfo<Level>& info) { return TableOf(info.param).name; }
INSTANTIATE_TEST_SUITE_P(Levels, BlurLevel,
                         testing::Values(Level::kScalar, Level::kSse2, Level::kSse41, Level::kAvx2,
                                         Level::kAvx512),
                         Name);

// The definition, with sums of everything before a position instead of running sums.
void AverageLine(std::uint8_t* values, int count, int step, int radius) {
  std::vector<std::int64_t> before(1, 0);
  for (int i = 0; i < count; ++i) before.push_back(before.back() + values[i * step]);
  const std::int64_t first = values[0], last = values[(count - 1) * step];
  for (int i = 0; i < count; ++i) {
    const int low = std::max(i - radius, 0), high = std::min(i + radius, count - 1);
    const std::int64_t sum = before[static_cast<std::size_t>(high + 1)] -
                             before[static_cast<std::size_t>(low)] + first * std::max(radius - i, 0) +
                             last * std::max(i + radius - count + 1, 0);
    values[i * step] = static_cast<std::uint8_t>(sum / (2 * radius + 1));
  }
}

Pixels Blurred(Pixels pixels, int width, int height, int radius, std::uint32_t top) {
  auto* bytes = reinterpret_cast<std::uint8_t*>(pixels.data());
  for (int channel = 0; channel < 3; ++channel) {
    for (int x = 0; x < width; ++x) AverageLine(bytes + x * 4 + channel, height, width * 4, radius);
    for (int y = 0; y < height; ++y) AverageLine(bytes + y * width * 4 + channel, width, 4, radius);
  }
  for (auto& pixel : pixels) pixel = (pixel & 0x00FFFFFF) | top;
  return pixels;
}

// Rows that may be neither read nor written beyond their ends, at any alignment.
struct FencedRows {
  FencedRows(int width, int height, test::Fence::At at, int misalignment) : offset(misalignment) {
    for (int y = 0; y < height; ++y)
      rows.push_back(std::make_unique<test::Fence>(static_cast<std::size_t>(width * 4 + offset), at));
    atEnd = at == test::Fence::At::kEnd;
  }
  // The bytes for the misalignment lie on the side that is not fenced.
  std::uint8_t* Row(int y) const { return rows[static_cast<std::size_t>(y)]->Data() + (atEnd ? 0 : offset); }
  bool atEnd = true;
  int offset;
  std::vector<std::unique_ptr<test::Fence>> rows;
};

struct Case {
  int width, height, radius;
  std::uint32_t top;
  bool streaming;
};

// A whole blur, row by row; `touch` may change the source after each row.
template <class Touch>
void BlurRows(const BlurKernels& kernels, const Case& c, const FencedRows& from, const FencedRows& to,
              Touch touch) {
  BlurPlan plan = PlanBlur(c.width, c.height, c.radius, c.top);
  plan.streaming = c.streaming;
  const std::size_t sumBytes = static_cast<std::size_t>(BlurSumBytes(plan));
  test::Fence sums((sumBytes + 63) & ~std::size_t{63});
  test::Fence row(static_cast<std::size_t>(BlurRowPixels(plan)) * 4);
  const auto at = [&](int y) { return from.Row(std::max(0, std::min(y, c.height - 1))); };
  kernels.startSums(plan, sums.Data());
  kernels.addRow(plan, sums.Data(), at(0), c.radius + 1);
  const int inside = std::min(c.radius, c.height - 1);
  for (int y = 1; y <= inside; ++y) kernels.addRow(plan, sums.Data(), at(y), 1);
  kernels.addRow(plan, sums.Data(), at(c.height - 1), c.radius - inside);
  for (int y = 0; y < c.height; ++y) {
    std::uint8_t* start = row.Data() + BlurRowStart(plan) * 4;
    if (y == 0)
      kernels.firstRow(plan, start, sums.Data());
    else
      kernels.nextRow(plan, start, sums.Data(), {at(y + c.radius), at(y - c.radius - 1), nullptr, nullptr});
    kernels.averageRow(plan, to.Row(y), start);
    touch();
  }
}

Case RandomCase(test::Random& random, int round) {
  Case c{};
  c.width = round < 50 ? round + 1 : random.Between(1, 150);
  c.height = random.Between(1, 5);
  const int limits[] = {3, 20, 128, 200, 2000, 13106, 13200, 1048573};
  c.radius = random.Between(1, limits[random.Between(0, 7)]);
  c.top = random.OneIn(2) ? 0xFF000000u : 0u;
  c.streaming = random.OneIn(2);
  return c;
}

Pixels RandomPixels(test::Random& random, int count) {
  Pixels pixels = random.Pixels(count);
  if (random.OneIn(4)) pixels.assign(pixels.size(), 0x5AFFFFFF);  // the largest sums
  return pixels;
}

TEST_P(BlurLevel, GivesTruncatedAveragesOfRepeatedEdges) {
  test::Random random(1);
  for (int round = 0; round < 250; ++round) {
    const Case c = RandomCase(random, round);
    const auto at = random.OneIn(2) ? test::Fence::At::kEnd : test::Fence::At::kStart;
    const FencedRows from(c.width, c.height, at, random.OneIn(2) ? 0 : random.Between(1, 67));
    const FencedRows to(c.width, c.height, at, random.OneIn(2) ? 0 : random.Between(1, 67));
    const Pixels pixels = RandomPixels(random, c.width * c.height);
    for (int y = 0; y < c.height; ++y)
      std::memcpy(from.Row(y), pixels.data() + y * c.width, static_cast<std::size_t>(c.width) * 4);
    BlurRows(Kernels(), c, from, to, [] {});
    const Pixels expected = Blurred(pixels, c.width, c.height, c.radius, c.top);
    for (int y = 0; y < c.height; ++y) {
      Pixels got(static_cast<std::size_t>(c.width));
      std::memcpy(got.data(), to.Row(y), got.size() * 4);
      for (int x = 0; x < c.width; ++x)
        ASSERT_EQ(expected[static_cast<std::size_t>(y * c.width + x)], got[static_cast<std::size_t>(x)])
            << "pixel " << x << ", " << y << " of " << c.width << "x" << c.height << ", radius " << c.radius
            << ", streaming " << c.streaming;
    }
  }
}

TEST_P(BlurLevel, KeepsToItsMemoryWhenTheSourceIsPaintedOn) {
  test::Random random(2);
  for (int round = 0; round < 60; ++round) {
    const Case c = RandomCase(random, random.Between(0, 60));
    const FencedRows from(c.width, c.height, test::Fence::At::kEnd, 0);
    const FencedRows to(c.width, c.height, test::Fence::At::kEnd, 0);
    BlurRows(Kernels(), c, from, to, [&] {
      for (int y = 0; y < c.height; ++y)
        std::memset(from.Row(y), random.OneIn(2) ? 255 : 0, static_cast<std::size_t>(c.width) * 4);
    });
    for (int y = 0; y < c.height; ++y)
      for (int x = 0; x < c.width; ++x) ASSERT_EQ(c.top >> 24, to.Row(y)[x * 4 + 3]) << x << ", " << y;
  }
}

TEST(BlurPlan, NarrowQuotientsAreExactForEverySum) {
  for (int radius = 1; 2 * radius + 1 <= 257; ++radius) {
    const BlurPlan plan = PlanBlur(100, 100, radius, 0);
    ASSERT_EQ(BlurRange::kNarrow, plan.range);
    ASSERT_LT(plan.factor, 65536u);
    for (std::uint32_t sum = 0; sum <= 255u * static_cast<unsigned>(plan.box); ++sum) {
      const std::uint32_t kept = sum + (plan.biased ? 1 : 0);
      ASSERT_LT(kept, 65536u);
      ASSERT_EQ(sum / static_cast<unsigned>(plan.box), kept * plan.factor >> 16 >> plan.shift)
          << sum << "/" << plan.box;
    }
  }
}

// Quotients grow with the sum: the sums on either side of every step decide.
TEST(BlurPlan, WideAndHugeQuotientsAreExactAtEveryStep) {
  for (std::int64_t radius = 129; radius <= 1048573; radius += radius < 13200 ? 3 : 9973) {
    const BlurPlan plan = PlanBlur(100, 100, static_cast<std::int32_t>(radius), 0);
    ASSERT_EQ(plan.box <= 26213 ? BlurRange::kWide : BlurRange::kHuge, plan.range);
    ASSERT_FALSE(plan.biased && plan.range == BlurRange::kHuge);
    const auto quotient = [&plan](std::int32_t sum) {
      if (plan.range == BlurRange::kWide) return static_cast<int>(static_cast<float>(sum) * plan.inverse);
      return static_cast<int>(static_cast<std::uint64_t>(sum) * plan.factor >> 32 >> plan.shift);
    };
    for (int step = 1; step <= 255; ++step) {
      ASSERT_EQ(step, quotient(step * plan.box)) << "box " << plan.box;
      ASSERT_EQ(step - 1, quotient(step * plan.box - 1)) << "box " << plan.box;
    }
  }
}

// What a vector of a wide blur divides: a rest, lifted, and up to 16 pixels' changes either way.
TEST(BlurPlan, WideRestsAreDividedExactlyInSixteenBits) {
  for (int radius = 129; 2 * radius + 1 <= 26213; radius += 7) {
    const BlurPlan plan = PlanBlur(100, 100, radius, 0);
    const int change = 16 * 255;
    ASSERT_GE(plan.lift * plan.box, change);
    const int most = plan.box - 1 + plan.lift * plan.box + change;
    ASSERT_LT(most + 1, 65536);
    ASSERT_LT(plan.factor, 65536u);
    for (int rest = 0; rest <= most; rest += rest % plan.box == 0 ? plan.box - 1 : 1) {
      const std::uint32_t kept = static_cast<std::uint32_t>(rest) + (plan.biased ? 1 : 0);
      ASSERT_EQ(static_cast<std::uint32_t>(rest / plan.box), kept * plan.factor >> 16 >> plan.shift)
          << rest << "/" << plan.box;
    }
  }
}

TEST(BlurLevels, AreFunctionsOfTheirOwn) {
  std::set<const void*> rows, columns;
  for (int level = 0; level < kLevelCount; ++level) {
    const BlurKernels& kernels = *TableOf(static_cast<Level>(level)).blur;
    rows.insert(reinterpret_cast<const void*>(kernels.averageRow));
    columns.insert(reinterpret_cast<const void*>(kernels.nextRow));
  }
  EXPECT_EQ(static_cast<std::size_t>(kLevelCount), rows.size());
  EXPECT_EQ(static_cast<std::size_t>(kLevelCount), columns.size());
}

}  // namespace
}  // namespace pixmorph::kernels
