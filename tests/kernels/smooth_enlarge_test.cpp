#include "kernels/smooth_enlarge_kernel.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "kernels/levels.h"
#include "tests/support/fence.h"
#include "tests/support/random.h"

namespace pixmorph::kernels {
namespace {

class SmoothEnlarge : public testing::TestWithParam<Level> {
 protected:
  void SetUp() override {
    if (GetParam() > BestLevel()) GTEST_SKIP() << "this processor lacks the level";
  }
  const SmoothEnlargeKernels& Kernels() const { return *TableOf(GetParam()).smoothEnlarge; }
};

std::string Name(const testing::TestParamInfo<Level>& info) { return TableOf(info.param).name; }
INSTANTIATE_TEST_SUITE_P(Levels, SmoothEnlarge,
                         testing::Values(Level::kScalar, Level::kSse2, Level::kSse41, Level::kAvx2,
                                         Level::kAvx512),
                         Name);

// Columns of an enlargement, in both the reference's form and the kernels'.
struct Columns {
  Columns(int width, int newWidth) {
    const auto room = static_cast<std::size_t>(newWidth + kSmoothColumnBlock);
    for (std::size_t i = 0; i < room; ++i) {
      const int x = static_cast<int>(i) < newWidth ? static_cast<int>(i) : newWidth - 1;
      const SmoothWeights w = SmoothWeightsAt(static_cast<double>(x * width % newWidth) / newWidth);
      const bool exact = IsExactSmoothWeight(w.tap[1]) && IsExactSmoothWeight(w.tap[2]);
      weights.push_back(w);
      index.push_back(x * width / newWidth);
      weight0.push_back(w.tap[2] * kSmoothWeightScale);
      weight1.push_back(w.tap[1] * kSmoothWeightScale);
      exactMask.push_back(exact ? -1 : 0);
      allExact = allExact && exact;
    }
    form = {index.data(), weight0.data(), weight1.data(), exactMask.data(), allExact, false, newWidth, width};
  }
  std::vector<SmoothWeights> weights;
  std::vector<std::int32_t> index, exactMask;
  std::vector<float> weight0, weight1;
  bool allExact = true;
  SmoothColumns form{};
};

struct Line {
  explicit Line(int width) : memory(static_cast<std::size_t>(SmoothPlaneFloats(width)) * 16 + 64) {}
  float* Data() {
    const auto start = reinterpret_cast<std::uintptr_t>(memory.data());
    return reinterpret_cast<float*>((start + 63) / 64 * 64);
  }
  std::vector<std::uint8_t> memory;
};

enum class Content { kNoise, kTwoTone, kFlatDown, kFlat };

// Every other time all top bytes are alike, so that the channel may be left out.
void Fill(test::Random& random, Content content, std::uint8_t* upper, std::uint8_t* lower, int bytes) {
  const std::uint8_t flat = random.Byte();
  for (int i = 0; i < bytes; ++i) {
    const auto tone = static_cast<std::uint8_t>(random.OneIn(2) ? 255 : 0);
    upper[i] = content == Content::kFlat ? flat : content == Content::kTwoTone ? tone : random.Byte();
    lower[i] = content == Content::kFlatDown || content == Content::kFlat ? upper[i]
               : content == Content::kTwoTone ? (random.OneIn(3) ? tone : 255 - tone)
                                              : random.Byte();
  }
}

// The same row with its columns interpolated first; false where the level doesn't offer that.
bool MakeRowByMixing(const SmoothEnlargeKernels& kernels, std::uint8_t* out, Line& upper, Line& lower,
                     const SmoothWeights& weights, int top, const SmoothColumns& columns) {
  if (!kernels.mixLines) return false;
  std::vector<float> upperWide(static_cast<std::size_t>(SmoothWideFloats(columns.count)));
  std::vector<float> lowerWide(upperWide.size());
  kernels.spreadLine(upperWide.data(), upper.Data(), columns, top < 0);
  kernels.spreadLine(lowerWide.data(), lower.Data(), columns, top < 0);
  kernels.mixLines(
      out,
      {upper.Data(), lower.Data(), upperWide.data(), lowerWide.data(), weights.tap[2], weights.tap[1], top,
       IsExactSmoothWeight(weights.tap[1]) && IsExactSmoothWeight(weights.tap[2])},
      columns);
  return true;
}

// One row of an enlargement at height `t` between two rows, by a level and straight from the definition.
// clear: what the kernels are told of the columns.
void CheckRow(const SmoothEnlargeKernels& kernels, test::Random& random, int width, int newWidth, double t,
              Content content, bool clear = false) {
  Columns columns(width, newWidth);
  columns.form.clear = clear;
  const SmoothWeights weights = SmoothWeightsAt(t);
  const auto bytes = static_cast<std::size_t>(width) * 4;
  const auto at = random.OneIn(2) ? test::Fence::At::kEnd : test::Fence::At::kStart;
  test::Fence upper(bytes, at), lower(bytes, at), out(static_cast<std::size_t>(newWidth) * 4, at);
  Fill(random, content, upper.Data(), lower.Data(), width * 4);

  Line upperLine(width), lowerLine(width), blended(width);
  const int upperTop = kernels.unpackLine(upperLine.Data(), upper.Data(), width);
  const int lowerTop = kernels.unpackLine(lowerLine.Data(), lower.Data(), width);
  const int top = upperTop == lowerTop ? upperTop : -1;
  kernels.blendLines(blended.Data(), upperLine.Data(), lowerLine.Data(), weights.tap[2], weights.tap[1],
                     width, top < 0);
  const bool exact = IsExactSmoothWeight(weights.tap[1]) && IsExactSmoothWeight(weights.tap[2]);
  kernels.interpolateLine(out.Data(), {blended.Data(), top, exact}, columns.form);

  std::vector<float> buffer(static_cast<std::size_t>(width));
  std::vector<std::uint8_t> expected(out.Size());
  for (int channel = 0; channel < 4; ++channel) {
    const std::uint8_t* rows[4] = {upper.Data() + channel, upper.Data() + channel, lower.Data() + channel,
                                   lower.Data() + channel};
    ref::SmoothVertical(buffer.data(), rows, 4, weights, width);
    ref::SmoothHorizontal(expected.data() + channel, 4, buffer.data(), width, columns.index.data(),
                          columns.weights.data(), newWidth);
  }
  const auto check = [&](const char* way) {
    for (std::size_t i = 0; i < expected.size(); ++i)
      ASSERT_EQ(int{expected[i]}, int{out.Data()[i]})
          << way << ", " << width << " -> " << newWidth << ", t " << t << ", content "
          << static_cast<int>(content) << ", byte " << i;
  };
  check("rows first");
  if (newWidth == 2 * width && (t == 0 || t == 0.5)) {
    kernels.doubleRow(out.Data(), upper.Data(), t == 0 ? upper.Data() : lower.Data(), width);
    check("doubled");
  }
  if (MakeRowByMixing(kernels, out.Data(), upperLine, lowerLine, weights, top, columns.form))
    check("columns first");
}

TEST_P(SmoothEnlarge, MakesTheBytesOfTheDefinition) {
  test::Random random(11);
  for (int round = 0; round < 500; ++round) {
    const int width = random.Between(1, 70);
    const int newWidth = width + random.Between(1, 150);
    const int down = random.Between(1, 12);
    CheckRow(Kernels(), random, width, newWidth, static_cast<double>(random.Between(0, down - 1)) / down,
             static_cast<Content>(random.Between(0, 3)));
  }
}

// Periods at which nothing is looked at twice, because no value comes near a rounding boundary.
TEST_P(SmoothEnlarge, NeedsNoSecondLookAtSomePeriods) {
  test::Random random(13);
  int pairs = 0;
  for (int p = 1; p <= 15; ++p) {
    for (int q = 1; q <= 15; ++q) {
      if (!SmoothStaysClear(p, q)) continue;
      ++pairs;
      for (int round = 0; round < 6; ++round)
        CheckRow(Kernels(), random, 500, 500 * p, static_cast<double>(random.Between(0, q - 1)) / q,
                 static_cast<Content>(round % 2), true);
    }
  }
  EXPECT_EQ(pairs, 14);
}

// Ratios whose sums lie on or beside a rounding boundary by the thousand: halves exactly, sixths because of
// the weights' own rounding only.
TEST_P(SmoothEnlarge, RoundsTiesAsTheDefinitionDoes) {
  test::Random random(12);
  for (const auto& [source, target] :
       {std::pair{1, 2}, {1, 4}, {1, 8}, {1, 3}, {2, 3}, {3, 4}, {5, 6}, {1, 6}, {7, 10}})
    for (int step = 0; step < target; ++step)
      for (const Content content : {Content::kNoise, Content::kTwoTone, Content::kFlatDown, Content::kFlat})
        CheckRow(Kernels(), random, source * 9, target * 9, static_cast<double>(step) / target, content);
}

TEST_P(SmoothEnlarge, DoublesRowsOfAnyWidth) {
  test::Random random(13);
  for (int width = 1; width < 70; ++width)
    for (const double t : {0.0, 0.5})
      CheckRow(Kernels(), random, width, 2 * width, t, static_cast<Content>(random.Between(0, 3)));
}

TEST(SmoothEnlargeLevels, EachRunsItsOwnVariant) {
  EXPECT_NE(kSmoothEnlargeSse2.interpolateLine, kSmoothEnlargeScalar.interpolateLine);
  EXPECT_NE(kSmoothEnlargeSse41.interpolateLine, kSmoothEnlargeSse2.interpolateLine);
  EXPECT_NE(kSmoothEnlargeAvx2.interpolateLine, kSmoothEnlargeSse41.interpolateLine);
  EXPECT_NE(kSmoothEnlargeAvx512.interpolateLine, kSmoothEnlargeAvx2.interpolateLine);
}

TEST(SmoothWeights, FollowTheCurveBetweenTwoSamples) {
  const SmoothWeights quarter = SmoothWeightsAt(0.25);
  EXPECT_EQ(0.0f, quarter.tap[0]);
  EXPECT_EQ(0.15625f, quarter.tap[1]);
  EXPECT_EQ(0.84375f, quarter.tap[2]);
  EXPECT_EQ(0.0f, quarter.tap[3]);
  for (int i = 0; i < 1000; ++i) {
    const double t = i / 1000.0;
    const SmoothWeights w = SmoothWeightsAt(t);
    EXPECT_NEAR(1.0, double{w.tap[1]} + w.tap[2], 1e-7);
    EXPECT_NEAR(t * t * (3 - 2 * t), w.tap[1], 1e-7);
  }
}

}  // namespace
}  // namespace pixmorph::kernels
