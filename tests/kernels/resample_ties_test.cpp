#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kernels/levels.h"
#include "kernels/resample_kernel.h"
#include "tests/support/random.h"

namespace pixmorph::kernels {
namespace {

// Weights that are float neighbours of fractions of one denominator, as those of cubic filters at simple
// ratios are; one list per pixel of a row.
class NearFractionLists {
 public:
  static constexpr int kTaps = 4, kCount = 512, kWidth = kCount + kTaps - 1;

  explicit NearFractionLists(test::Random& random) {
    const int denominator = random.Between(2, 260), lobe = random.Between(0, denominator / 8);
    const int inner = random.Between(1, denominator - 1);
    const int numerators[kTaps] = {-lobe, inner, denominator - inner + 2 * lobe, -lobe};
    const double scale = random.OneIn(3) ? random.Between(2, 7) : 1.0;
    double sum = 0;
    for (int t = 0; t < kTaps; ++t) {
      const double weight = scale * numerators[t] / denominator;
      sum += weight;
      for (int i = 0; i < kCount; ++i) taps_[i][t] = {static_cast<float>(weight), i + t};
    }
    for (int i = 0; i < kCount; ++i) lists_[i] = {taps_[i], kTaps, static_cast<float>(sum)};
  }
  const ContributionList* Lists() const { return lists_; }

 private:
  Contribution taps_[kCount][kTaps];
  ContributionList lists_[kCount];
};

// Memory aligned to a cache line.
struct Lines {
  explicit Lines(std::int64_t bytes) : memory(static_cast<std::size_t>(bytes) + 64) {}
  std::uint8_t* Data() {
    const auto address = reinterpret_cast<std::uintptr_t>(memory.data());
    return memory.data() + (64 - address % 64) % 64;
  }
  std::vector<std::uint8_t> memory;
};

// Small values meet ties most often, and are where lobes matter most.
std::vector<std::uint32_t> Pixels(test::Random& random, int width) {
  std::vector<std::uint32_t> pixels = random.Pixels(width);
  const int kind = random.Between(0, 2);
  for (auto& pixel : pixels) pixel &= kind == 0 ? 0xFFFFFFu : kind == 1 ? 0x0F0F0Fu : 0x808080u;
  return pixels;
}

TEST(ResampleTies, GoTheWayTheRuleSays) {
  test::Random random(31);
  int rules = 0, downs = 0;
  for (int round = 0; round < 600; ++round) {
    const NearFractionLists lists(random);
    Lines memory(WeightsBytes(lists.Lists(), 1));
    const AxisWeights axis = GatherWeights(lists.Lists(), 1, NearFractionLists::kWidth, memory.Data());
    const WeightBlock& block = axis.blocks[0];
    const TieRule rule = block.ties;
    if (rule.step == 0.0) continue;
    ++rules;
    downs += rule.up ? 0 : 1;
    for (int n = 0; n < 300; ++n) {
      double plain = 0;
      long double exact = 0;
      for (int t = 0; t < block.count; ++t) {
        const int sample = random.Between(0, random.OneIn(2) ? 255 : 20);
        plain += static_cast<double>(axis.weights[t]) * sample;
        exact += static_cast<long double>(axis.weights[t]) * sample;
      }
      const long double value = exact / block.sum + 0.5L;
      if (value < 0.5L || value >= 255.0L) continue;
      const long double grid = std::round(value / rule.step) * rule.step, beside = value - grid;
      ASSERT_LE(std::fabs(beside), rule.spread + 1e-12L) << "round " << round;
      const long double whole = std::round(grid);
      const bool tie = std::fabs(grid - whole) < 1e-9L;
      const double expected = static_cast<double>(tie ? whole - (rule.up ? 0 : 1) : std::floor(value));
      ASSERT_EQ(expected, ref::ResampledChannel(plain, block.sum)) << "round " << round;
    }
  }
  EXPECT_GT(downs, 20);
  EXPECT_GT(rules - downs, 20);
}

class ResampleTies : public testing::TestWithParam<Level> {
 protected:
  void SetUp() override {
    if (GetParam() > BestLevel()) GTEST_SKIP() << "this processor lacks the level";
  }
};
std::string Name(const testing::TestParamInfo<Level>& info) { return TableOf(info.param).name; }
INSTANTIATE_TEST_SUITE_P(Levels, ResampleTies,
                         testing::Values(Level::kSse2, Level::kSse41, Level::kAvx2, Level::kAvx512), Name);

TEST_P(ResampleTies, AreThoseOfThePlainPasses) {
  const ResampleKernels& kernels = *TableOf(GetParam()).resample;
  test::Random random(32);
  constexpr int kWidth = NearFractionLists::kWidth, kCount = NearFractionLists::kCount;
  Contribution one = {1.0f, 0};
  const ContributionList same = {&one, 1, 1.0f};
  for (int round = 0; round < 300; ++round) {
    const NearFractionLists lists(random);
    Lines rowMemory(WeightsBytes(lists.Lists(), kCount)), columnMemory(WeightsBytes(&same, 1));
    const AxisWeights row = GatherWeights(lists.Lists(), kCount, kWidth, rowMemory.Data());
    const AxisWeights column = GatherWeights(&same, 1, 1, columnMemory.Data());
    Lines planMemory(kernels.planBytes(row, column));
    FusedPlan plan{};
    ASSERT_TRUE(kernels.plan(row, column, planMemory.Data(), plan));
    const std::vector<std::uint32_t> pixels = Pixels(random, kWidth);
    const auto* const source = reinterpret_cast<const std::uint8_t*>(pixels.data());
    const std::vector<const std::uint8_t*> rows(static_cast<std::size_t>(2 * plan.batchRows), source);
    Lines slot(plan.slotBytes), scratch(plan.scratchBytes);
    plan.alongRows(plan, rows.data(), scratch.Data(), slot.Data());
    std::vector<std::uint32_t> got(kCount), wanted(kCount);
    plan.alongColumns(plan, 0, slot.Data(), reinterpret_cast<std::uint8_t*>(got.data()), 0);
    ref::ResampleAlongRow(wanted.data(), lists.Lists(), kCount, source, PixelLayout::kBgrx0);
    ASSERT_EQ(wanted, got) << "round " << round;
  }
}

}  // namespace
}  // namespace pixmorph::kernels
