#include "kernels/resample_kernel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "kernels/levels.h"
#include "tests/support/fence.h"
#include "tests/support/random.h"

namespace pixmorph::kernels {
namespace {

class Resample : public testing::TestWithParam<Level> {
 protected:
  void SetUp() override {
    if (GetParam() > BestLevel()) GTEST_SKIP() << "this processor lacks the level";
  }
  const ResampleKernels& Kernels() const { return *TableOf(GetParam()).resample; }
};

std::string Name(const testing::TestParamInfo<Level>& info) { return TableOf(info.param).name; }
INSTANTIATE_TEST_SUITE_P(Levels, Resample,
                         testing::Values(Level::kSse2, Level::kSse41, Level::kAvx2, Level::kAvx512), Name);

// Memory aligned as plans want it.
class Lines {
 public:
  explicit Lines(std::int64_t bytes) : memory_(static_cast<std::size_t>(bytes) + 64) {}
  std::uint8_t* Data() {
    const auto address = reinterpret_cast<std::uintptr_t>(memory_.data());
    return memory_.data() + (64 - address % 64) % 64;
  }

 private:
  std::vector<std::uint8_t> memory_;
};

enum class Shape { kTent, kBox, kLobes, kRandom, kWild };
const std::vector<Shape> kShapes = {Shape::kTent, Shape::kBox, Shape::kLobes, Shape::kRandom, Shape::kWild};

// Lists of one axis: windows of a filter-like shape, or anything that the contract allows.
class Axis {
 public:
  Axis(test::Random& random, Shape shape, int count, int length, bool whole = false)
      : entries_(static_cast<std::size_t>(count)) {
    const double scale = static_cast<double>(count) / length;
    const double step = scale < 1 ? scale : 1;
    for (int i = 0; i < count; ++i) {
      const double centre = (i + 0.5) / scale - 0.5;
      double sum = 0;
      for (int j = 0; j < length; ++j) {
        const double weight = Weight(random, shape, std::fabs(centre - j) * step);
        if (weight == 0) continue;
        entries_[static_cast<std::size_t>(i)].push_back({static_cast<float>(weight), j});
        sum += weight;
      }
      AddList(random, shape, i, static_cast<float>(sum), whole);
    }
  }
  const ContributionList* Lists() const { return lists_.data(); }
  int Count() const { return static_cast<int>(lists_.size()); }

 private:
  static double Weight(test::Random& random, Shape shape, double t) {
    switch (shape) {
      case Shape::kTent:
        return t < 1 ? 1 - t : 0;
      case Shape::kBox:
        return t <= 0.5 ? 1 : 0;
      case Shape::kLobes:
        return t < 3 ? std::cos(t * 1.5) * (3 - t) / 3 : 0;
      case Shape::kRandom:
        return t < 2.5 && !random.OneIn(5) ? random.Real(-0.4, 1) : 0;
      default:
        return t < 3 ? random.Real(-2, 2) * std::pow(2.0, random.Between(-30, 3)) : 0;
    }
  }

  // Sometimes a list that has no memory, no taps, or a sum that no quotient survives.
  void AddList(test::Random& random, Shape shape, int i, float sum, bool whole) {
    std::vector<Contribution>& taps = entries_[static_cast<std::size_t>(i)];
    lists_.push_back({taps.data(), static_cast<int>(taps.size()), sum});
    if (taps.empty() || (!whole && random.OneIn(40))) lists_.back() = {nullptr, 0, 0.0f};
    if (shape == Shape::kWild && random.OneIn(10)) lists_.back().weightSum = 0.0f;
  }

  std::vector<std::vector<Contribution>> entries_;
  std::vector<ContributionList> lists_;
};

// A source whose every row begins or ends at a page that may not be touched.
class Source {
 public:
  Source(test::Random& random, int width, int height) : width_(width) {
    const bool twoTone = random.OneIn(3), flat = random.OneIn(6);
    for (int y = 0; y < height; ++y) {
      const auto at = random.OneIn(2) ? test::Fence::At::kEnd : test::Fence::At::kStart;
      rows_.push_back(std::make_unique<test::Fence>(static_cast<std::size_t>(4 * width), at));
      std::vector<std::uint32_t> pixels = random.Pixels(width);
      for (auto& pixel : pixels) {
        if (twoTone) pixel = random.OneIn(2) ? 0x12FFFFFFu : 0xFE000000u;
        if (flat) pixel = 0x55C08040u;
      }
      for (int x = 0; x < width; ++x)
        rows_.back()->As<std::uint32_t>()[x] = pixels[static_cast<std::size_t>(x)];
    }
  }
  const std::uint8_t* Row(int y) const {
    const int last = static_cast<int>(rows_.size()) - 1;
    return rows_[static_cast<std::size_t>(y < last ? y : last)]->Data();
  }
  int Width() const { return width_; }
  int Height() const { return static_cast<int>(rows_.size()); }

 private:
  int width_;
  std::vector<std::unique_ptr<test::Fence>> rows_;
};

std::vector<std::uint32_t> Plainly(const Axis& row, const Axis& column, const Source& source) {
  const int width = row.Count();
  std::vector<std::uint32_t> intermediate(static_cast<std::size_t>(width * source.Height()));
  std::vector<std::uint32_t> result(static_cast<std::size_t>(width * column.Count()));
  for (int y = 0; y < source.Height(); ++y)
    ref::ResampleAlongRow(intermediate.data() + y * width, row.Lists(), width, source.Row(y),
                          PixelLayout::kBgrx0);
  for (int r = 0; r < column.Count(); ++r)
    ref::ResampleAlongColumns(reinterpret_cast<std::uint8_t*>(result.data() + r * width), PixelLayout::kBgrxF,
                              column.Lists()[r], intermediate.data(), width);
  return result;
}

// The woven passes with every slot kept; empty when the level refuses the weights.
std::vector<std::uint32_t> Woven(const ResampleKernels& kernels, const Axis& row, const Axis& column,
                                 const Source& source, bool streams = false) {
  Lines rowMemory(WeightsBytes(row.Lists(), row.Count())),
      columnMemory(WeightsBytes(column.Lists(), column.Count()));
  const AxisWeights rows = GatherWeights(row.Lists(), row.Count(), source.Width(), rowMemory.Data());
  const AxisWeights columns =
      GatherWeights(column.Lists(), column.Count(), source.Height(), columnMemory.Data());
  Lines planMemory(kernels.planBytes(rows, columns));
  FusedPlan plan{};
  if (!kernels.plan(rows, columns, planMemory.Data(), plan)) return {};
  plan.pairStreams |= streams;
  const int batches = (source.Height() + plan.batchRows - 1) / plan.batchRows;
  Lines slots(plan.slotBytes * batches), scratch(plan.scratchBytes);
  for (int batch = 0; batch < batches; ++batch) {
    std::vector<const std::uint8_t*> pointers;
    for (int n = 0; n < 2 * plan.batchRows; ++n) pointers.push_back(source.Row(batch * plan.batchRows + n));
    plan.alongRows(plan, pointers.data(), scratch.Data(), slots.Data() + batch * plan.slotBytes);
  }
  std::vector<std::uint32_t> result;
  test::Fence out(static_cast<std::size_t>(4 * row.Count()));
  for (int r = 0; r < column.Count(); ++r) {
    const int batch = columns.lists[r].first / plan.batchRows;
    plan.alongColumns(plan, r, slots.Data() + batch * plan.slotBytes, out.Data(), 0xFF000000u);
    result.insert(result.end(), out.As<std::uint32_t>(), out.As<std::uint32_t>() + row.Count());
  }
  return result;
}

TEST_P(Resample, GivesTheBytesOfThePlainPasses) {
  test::Random random(static_cast<std::uint64_t>(GetParam()));
  int compared = 0;
  for (int round = 0; round < 300; ++round) {
    const int width = random.Between(1, round < 150 ? 24 : 70), height = random.Between(1, 24);
    int newWidth = random.Between(1, 70), newHeight = random.Between(1, 40);
    if (random.OneIn(3)) newWidth = width * random.Between(1, 4);
    if (random.OneIn(3)) newHeight = (height + 3) / 4;
    if (random.OneIn(4)) newWidth = (width * 5 + 1) / 2;
    const Shape shape = random.Pick(kShapes);
    const Source source(random, width, height);
    const Axis row(random, shape, newWidth, width), column(random, shape, newHeight, height);
    const std::vector<std::uint32_t> got = Woven(Kernels(), row, column, source);
    if (got.empty()) continue;  // wild weights may not suit
    ++compared;
    const std::vector<std::uint32_t> wanted = Plainly(row, column, source);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      ASSERT_EQ(wanted[i], got[i]) << "round " << round << ", shape " << static_cast<int>(shape) << ", "
                                   << width << "x" << height << " to " << newWidth << "x" << newHeight
                                   << ", pixel " << i % static_cast<std::size_t>(newWidth) << ","
                                   << i / static_cast<std::size_t>(newWidth);
    }
  }
  EXPECT_GT(compared, 200);
}

// Two taps a sample, and results large enough for the passes that are made for them.
TEST_P(Resample, EnlargesByTwoTaps) {
  test::Random random(9);
  const int sizes[][4] = {{64, 24, 160, 60}, {50, 30, 100, 90}, {31, 33, 93, 99},
                          {70, 60, 70, 60},  {33, 3, 1000, 7},  {80, 70, 100, 105},
                          {64, 64, 75, 75},  {5, 41, 120, 41},  {90, 50, 91, 51}};
  for (const auto& size : sizes) {
    for (const Shape shape : {Shape::kTent, Shape::kBox}) {
      const Source source(random, size[0], size[1]);
      const Axis row(random, shape, size[2], size[0], true), column(random, shape, size[3], size[1], true);
      const std::vector<std::uint32_t> got = Woven(Kernels(), row, column, source, random.OneIn(2));
      const std::vector<std::uint32_t> wanted = Plainly(row, column, source);
      EXPECT_TRUE(wanted == got) << size[0] << "x" << size[1] << " to " << size[2] << "x" << size[3]
                                 << ", shape " << static_cast<int>(shape) << ", first difference at "
                                 << std::mismatch(wanted.begin(), wanted.end(), got.begin()).first -
                                        wanted.begin();
    }
  }
}

// Reductions by box at whole ratios, which have passes of their own.
TEST_P(Resample, AveragesWholeBoxes) {
  test::Random random(11);
  for (int round = 0; round < 60; ++round) {
    const int ratio = random.OneIn(2) ? 4 : random.Between(2, 9), down = random.Between(1, 11);
    const int width = random.Between(1, 70), height = random.Between(1, 5);
    const Source source(random, width * ratio, height * down);
    const Axis row(random, Shape::kBox, width, width * ratio, true);
    const Axis column(random, Shape::kBox, height, height * down, true);
    ASSERT_EQ(Plainly(row, column, source), Woven(Kernels(), row, column, source))
        << "round " << round << ", " << width << " boxes of " << ratio << ", " << down << " high";
  }
}

// Averages of 0 and 255 in equal parts lie on a boundary, which only exact arithmetic decides.
TEST_P(Resample, RoundsTiesUp) {
  test::Random random(7);
  for (int ratio = 2; ratio <= 16; ratio += 2) {
    const Axis row(random, Shape::kBox, 8, 8 * ratio), column(random, Shape::kBox, 3, 3);
    Source source(random, 8 * ratio, 3);
    for (int y = 0; y < 3; ++y)
      for (int x = 0; x < 8 * ratio; ++x)
        reinterpret_cast<std::uint32_t*>(const_cast<std::uint8_t*>(source.Row(y)))[x] = x % 2 ? 0xFFFFFF : 0;
    EXPECT_EQ(Plainly(row, column, source), Woven(Kernels(), row, column, source)) << ratio;
  }
}

TEST_P(Resample, RunsTheLevelAskedFor) {
  ASSERT_NE(nullptr, Kernels().plan);
  for (int slower = 0; slower < static_cast<int>(GetParam()); ++slower)
    EXPECT_NE(TableOf(static_cast<Level>(slower)).resample->plan, Kernels().plan) << slower;
}

TEST(ResampleChannel, IsZeroForQuotientsThatAreNotFinite) {
  EXPECT_EQ(0, ref::ResampledChannel(0.0, 0.0f));
  EXPECT_EQ(0, ref::ResampledChannel(5.0, 0.0f));
  EXPECT_EQ(255, ref::ResampledChannel(255.0 * 3, 1.0f));
  EXPECT_EQ(0, ref::ResampledChannel(-7.0, 1.0f));
  EXPECT_EQ(3, ref::ResampledChannel(5.0, 2.0f));
}

}  // namespace
}  // namespace pixmorph::kernels
