#include "scaling/contributions.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "support/numeric.h"
#include "tests/support/random.h"

namespace pixmorph {
namespace {

// Anywhere, and beside the whole numbers, where sines come close to 0.
double Distance(test::Random& random, double support) {
  const double any = random.Real(0, support), whole = std::floor(any);
  switch (random.Between(0, 3)) {
    case 0:
      return whole;
    case 1:
      return std::fabs(whole + random.Real(-1, 1) * std::pow(10, -random.Between(1, 17)));
    default:
      return any;
  }
}

TEST(Filters, EstimatesAreWithinTheirError) {
  test::Random random(5);
  for (int mode = kFirstFilterMode; mode <= kLastFilterMode; ++mode) {
    const Filter& filter = FilterOfMode(mode);
    for (int n = 0; n < 200000; ++n) {
      const double t = Distance(random, filter.support * 1.1), weight = filter.weight(t);
      double estimate = -1;
      filter.estimate(&t, 1, &estimate);
      ASSERT_LE(std::fabs(estimate - weight), filter.error * std::fabs(weight)) << mode << " at " << t;
    }
  }
}

// The taps and the sum of list i, tap by tap by the weights.
void ExpectPlainList(const ContributionList& list, const Filter& filter, const ResampleAxis& axis, int i) {
  const double centre = (i + 0.5) / axis.scale, radius = axis.Radius(filter);
  const int first = TruncateToInt32(centre - radius), last = TruncateToInt32(centre + radius);
  double sum = 0;
  int taps = 0;
  for (int j = first < 0 ? 0 : first; j <= last && j < axis.sourceLength; ++j) {
    const double distance = centre - j - 0.5;
    const double weight = filter.weight(std::fabs(axis.scale < 1 ? distance * axis.scale : distance));
    if (weight == 0 || taps == axis.Capacity(filter)) continue;
    ASSERT_LT(taps, list.count);
    const auto rounded = static_cast<float>(weight);
    ASSERT_EQ(0, std::memcmp(&rounded, &list.entries[taps].weight, sizeof rounded)) << "tap " << taps;
    ASSERT_EQ(j, list.entries[taps].pixel);
    sum += weight;
    ++taps;
  }
  ASSERT_EQ(taps, list.count);
  ASSERT_EQ(static_cast<float>(sum), list.weightSum);
}

void ExpectPlainTable(int mode, const ResampleAxis& axis, PhaseWeights& phases) {
  ContributionTable table;
  ASSERT_TRUE(table.Allocate(axis.count));
  table.Build(FilterOfMode(mode), axis, phases);
  for (int i = 0; i < axis.count; ++i) {
    SCOPED_TRACE(testing::Message() << "mode " << mode << ", " << axis.sourceLength << " to " << axis.count
                                    << ", list " << i);
    ExpectPlainList(table.Lists()[i], FilterOfMode(mode), axis, i);
    if (testing::Test::HasFatalFailure()) return;
  }
}

// Along a second axis of the same scale, as pictures mostly have one, too.
TEST(Contributions, AreThePlainOnes) {
  test::Random random(6);
  PhaseWeights phases;
  for (int round = 0; round < 700 && !HasFatalFailure(); ++round) {
    const int mode = 1 + round % 7, length = random.Between(1, random.OneIn(3) ? 2000 : 60);
    const int count = random.OneIn(3) ? length * random.Between(1, 3) : random.Between(1, 200);
    const double scale = static_cast<double>(count) / length;
    const bool horizontal = random.OneIn(2);
    ExpectPlainTable(mode, {scale, length, count, horizontal}, phases);
    ExpectPlainTable(mode, {scale, 2 * length, 2 * count, !horizontal}, phases);
  }
}

}  // namespace
}  // namespace pixmorph
