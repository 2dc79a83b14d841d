#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kernels/resample_quads.h"
#include "kernels/resample_words.h"
#include "tests/support/random.h"

// Samples that integers can't decide cost many times the others. On flat, two-tone and coarsely stepped rows
// every tenth value of a triangle lies exactly between two bytes, and some of a cubic with exact weights do,
// beside inexact ones at the row's ends: none of these may be among them.
namespace pixmorph::kernels {
namespace {

double Triangle(double x) { return std::fabs(x) < 1 ? 1 - std::fabs(x) : 0; }

// Cubic convolution with a = -3/4.
double Cubic(double x) {
  x = std::fabs(x);
  return x < 1 ? (1.25 * x - 2.25) * x * x + 1 : x < 2 ? -0.75 * (((x - 5) * x + 8) * x - 4) : 0;
}

// A kernel's lists for a row that shrinks by `ratio`, gathered.
class Shrinking {
 public:
  static constexpr int kCount = 40;

  Shrinking(double (*kernel)(double), double ratio) : sourceLength_(static_cast<int>(kCount * ratio)) {
    std::vector<std::vector<Contribution>> taps(kCount);
    std::vector<ContributionList> lists;
    for (int i = 0; i < kCount; ++i) {
      std::vector<Contribution>& own = taps[static_cast<std::size_t>(i)];
      double sum = 0;
      for (int j = 0; j < sourceLength_; ++j) {
        const double weight = kernel(((i + 0.5) * ratio - j - 0.5) / ratio);
        if (weight == 0) continue;
        own.push_back({static_cast<float>(weight), j});
        sum += weight;
      }
      lists.push_back({own.data(), static_cast<std::int32_t>(own.size()), static_cast<float>(sum)});
    }
    memory_.resize(static_cast<std::size_t>(WeightsBytes(lists.data(), kCount)) / 4 + 1);
    axis_ = GatherWeights(lists.data(), kCount, sourceLength_, memory_.data());
  }
  const AxisWeights& Axis() const { return axis_; }

  // One channel of a row: one value, two of them by chance or in turns, or multiples of 16; and room behind
  // it.
  std::vector<int> Row(test::Random& random) const {
    const int kind = random.Between(0, 3), low = random.Byte(), high = random.Byte();
    const int turn = random.Between(3, 9);
    std::vector<int> row(static_cast<std::size_t>(sourceLength_) + 8);
    for (std::size_t j = 0; j < row.size(); ++j) {
      const bool other = kind == 1 ? random.OneIn(2) : static_cast<int>(j) / turn % 2 != 0;
      row[j] = kind == 0 ? low : kind == 3 ? 16 * random.Between(0, 15) : other ? high : low;
    }
    return row;
  }

 private:
  const int sourceLength_;
  std::vector<std::int32_t> memory_;
  AxisWeights axis_{};
};

std::int32_t QuadSum(const QuadAxis& axis, const QuadList& list, const std::vector<int>& row) {
  const auto* digit = reinterpret_cast<const signed char*>(axis.digits + list.words);
  std::int64_t sum = list.bias;
  for (std::int32_t q = 0; q < list.quads; ++q, digit += 12)
    for (int t = 0; t < 4; ++t)
      sum += row[static_cast<std::size_t>(4 * (list.quad + q) + t)] *
             (65536 * std::int64_t{digit[t]} + 256 * digit[4 + t] + digit[8 + t]);
  return static_cast<std::int32_t>(sum);
}

std::int32_t WordSum(const WordAxis& axis, const WordList& list, const std::vector<int>& row) {
  const auto* word = reinterpret_cast<const std::int16_t*>(axis.words + list.words);
  std::int32_t sum = list.bias;
  for (std::int32_t p = 0; p < 2 * list.pairs; ++p)
    sum += row[static_cast<std::size_t>(2 * list.pair + p)] * word[p];
  return sum;
}

// How many of a thousand are unsure, by quads and by words.
struct Doubts {
  int quads = 0, words = 0;
};

Doubts DoubtsOf(const Shrinking& lists) {
  test::Random random(41);
  std::vector<std::int32_t> quadMemory(static_cast<std::size_t>(QuadsBytes(lists.Axis())) / 4 + 1),
      wordMemory(static_cast<std::size_t>(WordsBytes(lists.Axis())) / 4 + 1);
  QuadAxis quads{};
  WordAxis words{};
  EXPECT_TRUE(PackQuads(lists.Axis(), true, quadMemory.data(), quads));
  EXPECT_TRUE(PackWords(lists.Axis(), WordGrades::kByList, wordMemory.data(), words));
  Doubts doubts;
  constexpr int kRows = 500;
  for (int n = 0; n < kRows; ++n) {
    const std::vector<int> row = lists.Row(random);
    for (int i = 0; i < Shrinking::kCount; ++i) {
      if ((QuadSum(quads, quads.lists[i], row) & quads.doubtMask) == 0) ++doubts.quads;
      const WordList& list = words.lists[i];
      const WordGrade& grade = words.grades[list.grade];
      const std::int32_t fraction = WordSum(words, list, row) & ((1 << grade.fractionBits) - 1);
      if (fraction < grade.threshold) ++doubts.words;
    }
  }
  return {doubts.quads * 1000 / kRows / Shrinking::kCount, doubts.words * 1000 / kRows / Shrinking::kCount};
}

TEST(ResampleDoubts, AreRareOnFlatAndTwoTonedRows) {
  for (const double ratio : {2.0, 2.5, 3.0, 4.0}) {
    const Doubts doubts = DoubtsOf({Triangle, ratio});
    EXPECT_LT(doubts.quads, 10) << "ratio " << ratio;
    EXPECT_LT(doubts.words, 10) << "ratio " << ratio;
  }
  for (const double ratio : {2.0, 4.0}) EXPECT_LT(DoubtsOf({Cubic, ratio}).quads, 10) << "ratio " << ratio;
}

}  // namespace
}  // namespace pixmorph::kernels
