#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "kernels/resample_quads.h"
#include "kernels/resample_words.h"
#include "tests/support/random.h"

// Samples that integers can't decide cost many times the others. On flat, two-tone and coarsely stepped rows
// every tenth value of a triangle lies exactly between two bytes: none of these may be among them.
namespace pixmorph::kernels {
namespace {

// A triangle's lists for a row that shrinks by `ratio`, gathered.
class Triangle {
 public:
  static constexpr int kCount = 40;

  explicit Triangle(double ratio) : sourceLength_(static_cast<int>(kCount * ratio)) {
    std::vector<std::vector<Contribution>> taps(kCount);
    std::vector<ContributionList> lists;
    for (int i = 0; i < kCount; ++i) {
      std::vector<Contribution>& own = taps[static_cast<std::size_t>(i)];
      double sum = 0;
      for (int j = 0; j < sourceLength_; ++j) {
        const double weight = 1.0 - std::fabs((i + 0.5) * ratio - j - 0.5) / ratio;
        if (weight <= 0) continue;
        own.push_back({static_cast<float>(weight), j});
        sum += weight;
      }
      lists.push_back({own.data(), static_cast<std::int32_t>(own.size()), static_cast<float>(sum)});
    }
    memory_.resize(static_cast<std::size_t>(WeightsBytes(lists.data(), kCount)) / 4 + 1);
    axis_ = GatherWeights(lists.data(), kCount, sourceLength_, memory_.data());
  }
  const AxisWeights& Axis() const { return axis_; }

  // One channel of a row: one value, two of them, or multiples of 16; and room behind it.
  std::vector<int> Row(test::Random& random) const {
    const int kind = random.Between(0, 2), low = random.Byte(), high = random.Byte();
    std::vector<int> row(static_cast<std::size_t>(sourceLength_) + 8);
    for (int& sample : row)
      sample = kind == 0 ? low : kind == 1 ? (random.OneIn(2) ? low : high) : 16 * random.Between(0, 15);
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

TEST(ResampleDoubts, AreRareOnFlatAndTwoTonedRows) {
  for (const double ratio : {2.0, 2.5, 3.0, 4.0}) {
    const Triangle triangle(ratio);
    test::Random random(41);
    std::vector<std::int32_t> quadMemory(static_cast<std::size_t>(QuadsBytes(triangle.Axis())) / 4 + 1),
        wordMemory(static_cast<std::size_t>(WordsBytes(triangle.Axis())) / 4 + 1);
    QuadAxis quads{};
    WordAxis words{};
    ASSERT_TRUE(PackQuads(triangle.Axis(), true, quadMemory.data(), quads));
    ASSERT_TRUE(PackWords(triangle.Axis(), WordGrades::kByList, wordMemory.data(), words));
    int quadDoubts = 0, wordDoubts = 0;
    constexpr int kRows = 500;
    for (int n = 0; n < kRows; ++n) {
      const std::vector<int> row = triangle.Row(random);
      for (int i = 0; i < Triangle::kCount; ++i) {
        if ((QuadSum(quads, quads.lists[i], row) & quads.doubtMask) == 0) ++quadDoubts;
        const WordList& list = words.lists[i];
        const WordGrade& grade = words.grades[list.grade];
        const std::int32_t fraction = WordSum(words, list, row) & ((1 << grade.fractionBits) - 1);
        if (fraction < grade.threshold) ++wordDoubts;
      }
    }
    EXPECT_LT(quadDoubts, kRows * Triangle::kCount / 100) << "ratio " << ratio;
    EXPECT_LT(wordDoubts, kRows * Triangle::kCount / 100) << "ratio " << ratio;
  }
}

}  // namespace
}  // namespace pixmorph::kernels
