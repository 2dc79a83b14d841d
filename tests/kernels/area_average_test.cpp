#include "kernels/area_average_kernel.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "kernels/levels.h"
#include "tests/support/fence.h"
#include "tests/support/random.h"

namespace pixmorph::kernels {
namespace {

class AreaAverage : public testing::TestWithParam<Level> {
 protected:
  void SetUp() override {
    if (GetParam() > BestLevel()) GTEST_SKIP() << "this processor lacks the level";
  }
  const AreaAverageKernels& Kernels() const { return *TableOf(GetParam()).areaAverage; }
};

std::string Name(const testing::TestParamInfo<Level>& info) { return TableOf(info.param).name; }
INSTANTIATE_TEST_SUITE_P(Levels, AreaAverage,
                         testing::Values(Level::kScalar, Level::kSse2, Level::kSse41, Level::kAvx2,
                                         Level::kAvx512),
                         Name);

// Index of the first difference, or -1.
template <class T>
int FirstDifference(const T* a, const T* b, int count) {
  for (int i = 0; i < count; ++i)
    if (a[i] != b[i]) return i;
  return -1;
}

TEST_P(AreaAverage, AddsRowsUpToTheirLastByte) {
  test::Random random(1);
  for (int round = 0; round < 400; ++round) {
    const int bytes = round < 200 ? round : random.Between(200, 3000);
    const int rowCount = random.Between(1, kAreaRowsAtOnce);
    const auto at = random.OneIn(2) ? test::Fence::At::kEnd : test::Fence::At::kStart;
    test::Fence first(static_cast<std::size_t>(bytes), at), second(static_cast<std::size_t>(bytes), at);
    const std::uint8_t* rows[kAreaRowsAtOnce] = {first.Data(), second.Data(), first.Data(), second.Data()};
    for (int i = 0; i < bytes; ++i) first.Data()[i] = random.OneIn(3) ? 255 : random.Byte();
    for (int i = 0; i < bytes; ++i) second.Data()[i] = random.OneIn(3) ? 255 : random.Byte();
    std::vector<std::uint16_t> sums(static_cast<std::size_t>(bytes + kAreaSumPadding));
    for (auto& sum : sums) sum = static_cast<std::uint16_t>(random.Between(0, 253 * 255));
    std::vector<std::uint16_t> expected = sums;
    const bool fresh = random.OneIn(2);
    (random.OneIn(2) ? Kernels().addRows : Kernels().addFarRows)(sums.data(), rows, rowCount, bytes, fresh);
    ref::AddRows(expected.data(), rows, rowCount, bytes, fresh);
    ASSERT_EQ(-1, FirstDifference(sums.data(), expected.data(), bytes))
        << bytes << " bytes, " << rowCount << " rows, first " << fresh;
  }
}

TEST_P(AreaAverage, AddsSumsToTotals) {
  test::Random random(2);
  for (int count = 0; count < 150; ++count) {
    std::vector<std::uint16_t> sums(static_cast<std::size_t>(count + kAreaSumPadding), 0xFFFF);
    std::vector<std::uint32_t> totals(static_cast<std::size_t>(count + kAreaSumPadding));
    for (auto& total : totals) total = random.Next() >> 1;
    std::vector<std::uint32_t> expected = totals;
    const bool fresh = random.OneIn(4);
    Kernels().addSums(totals.data(), sums.data(), count, fresh);
    ref::AddSums(expected.data(), sums.data(), count, fresh);
    ASSERT_EQ(-1, FirstDifference(totals.data(), expected.data(), count)) << count;
  }
}

AreaDivisor DivisorOf(int pixels) {
  return pixels <= kAreaRowsIn16Bits ? MakeAreaDivisor(pixels) : AreaDivisor{};
}

struct Case {
  int sourceWidth, newWidth, boxHeight, step;
};

// Averages one row of random sums of the case's boxes with a kernel and with the reference.
template <class Sum, class Kernel, class Reference>
void CheckAverage(test::Random& random, const Case& c, Kernel kernel, Reference reference) {
  const AreaAxis axis = MakeAreaAxis(c.sourceWidth, c.newWidth);
  std::vector<std::int32_t> starts(static_cast<std::size_t>(c.newWidth));
  for (int x = 0; x < c.newWidth; ++x) starts[static_cast<std::size_t>(x)] = axis.Start(x) * c.step;
  // The sums end at a fence, padding included.
  const int elements = c.sourceWidth * c.step + kAreaSumPadding;
  test::Fence sums(static_cast<std::size_t>(elements) * sizeof(Sum));
  const bool extreme = random.OneIn(4);
  for (int i = 0; i < elements; ++i)
    sums.As<Sum>()[i] = static_cast<Sum>(extreme ? 255 * c.boxHeight : random.Between(0, 255 * c.boxHeight));
  const AreaColumns columns = {starts.data(),
                               c.newWidth,
                               axis.box,
                               c.step,
                               axis.box * c.boxHeight,
                               random.OneIn(2) ? 0xFF000000u : 0u,
                               DivisorOf(axis.box * c.boxHeight),
                               0};
  test::Fence out(static_cast<std::size_t>(c.newWidth) * 4);
  std::vector<std::uint8_t> expected(out.Size());
  kernel(out.Data(), sums.As<Sum>(), columns);
  reference(expected.data(), sums.As<Sum>(), columns);
  ASSERT_EQ(-1, FirstDifference(out.Data(), expected.data(), c.newWidth * 4))
      << c.sourceWidth << " -> " << c.newWidth << ", box height " << c.boxHeight << ", step " << c.step;
}

TEST_P(AreaAverage, AveragesSmallBoxes) {
  test::Random random(3);
  for (int round = 0; round < 600; ++round) {
    const int newWidth = random.Between(1, 80);
    const int boxWidth = random.Between(1, 12);
    const int sourceWidth = random.OneIn(2) ? newWidth * boxWidth : random.Between(1, newWidth * boxWidth);
    const int box = MakeAreaAxis(sourceWidth, newWidth).box;
    CheckAverage<std::uint16_t>(
        random, {sourceWidth, newWidth, random.Between(1, kAreaRowsIn16Bits / box), random.Between(3, 4)},
        Kernels().averageSmall, ref::AverageSums);
  }
}

TEST_P(AreaAverage, AveragesLargeBoxes) {
  test::Random random(4);
  for (int round = 0; round < 200; ++round) {
    const int newWidth = random.Between(1, 20);
    const int sourceWidth = newWidth * random.Between(1, 150) + random.Between(0, newWidth - 1);
    const int step = random.Between(3, 4);
    CheckAverage<std::uint16_t>(random, {sourceWidth, newWidth, random.Between(1, kAreaRowsIn16Bits), step},
                                Kernels().averageLarge, ref::AverageSums);
    CheckAverage<std::uint32_t>(random, {sourceWidth, newWidth, random.Between(1, 32767), step},
                                Kernels().averageTotals, ref::AverageTotals);
  }
}

// The first and the last sum of every quotient, for all boxes where the division is done by a reciprocal of
// 16 bits and some where it is one in float: one wrong rounding would show.
TEST_P(AreaAverage, DividesEverySumOfABoxExactly) {
  std::vector<int> boxes = {258, 1000, 4096, 16384, 16385};
  for (int pixels = 1; pixels <= kAreaRowsIn16Bits; ++pixels) boxes.push_back(pixels);
  constexpr int kNewWidth = 128;
  std::vector<std::int32_t> starts(kNewWidth);
  for (int x = 0; x < kNewWidth; ++x) starts[static_cast<std::size_t>(x)] = x * 4;
  for (const int pixels : boxes) {
    std::vector<std::uint32_t> totals(kNewWidth * 4 + kAreaSumPadding);
    std::vector<std::uint16_t> sums(totals.size());
    for (int i = 0; i < kNewWidth * 4; ++i) {
      const int sum = i / 2 * pixels + (i % 2 != 0 ? pixels - 1 : 0);
      totals[static_cast<std::size_t>(i)] = static_cast<std::uint32_t>(std::min(sum, 255 * pixels));
      sums[static_cast<std::size_t>(i)] = static_cast<std::uint16_t>(totals[static_cast<std::size_t>(i)]);
    }
    const AreaColumns columns = {starts.data(), kNewWidth, 1, 4, pixels, 0, DivisorOf(pixels), 0};
    std::vector<std::uint8_t> out(kNewWidth * 4), expected(out.size());
    ref::AverageTotals(expected.data(), totals.data(), columns);
    Kernels().averageTotals(out.data(), totals.data(), columns);
    ASSERT_EQ(expected, out) << pixels << " pixels, totals";
    if (pixels > kAreaRowsIn16Bits) continue;
    Kernels().averageSmall(out.data(), sums.data(), columns);
    ASSERT_EQ(expected, out) << pixels << " pixels, small";
    Kernels().averageLarge(out.data(), sums.data(), columns);
    ASSERT_EQ(expected, out) << pixels << " pixels, large";
  }
}

// The last sum below each rounding boundary and the first above it, for all boxes that are ever rounded.
TEST_P(AreaAverage, RoundsEverySumOfABoxExactly) {
  constexpr int kNewWidth = 129;
  std::vector<std::int32_t> starts(kNewWidth);
  for (int x = 0; x < kNewWidth; ++x) starts[static_cast<std::size_t>(x)] = x * 4;
  for (int pixels = 1; pixels <= 255; ++pixels) {
    std::vector<std::uint16_t> sums(kNewWidth * 4 + kAreaSumPadding);
    for (int i = 0; i < kNewWidth * 4; ++i) {
      const int boundary = i / 2 * pixels - pixels / 2 - (i % 2 != 0 ? 1 : 0);
      sums[static_cast<std::size_t>(i)] = static_cast<std::uint16_t>(std::clamp(boundary, 0, 255 * pixels));
    }
    AreaColumns columns = {starts.data(), kNewWidth, 1, 4, pixels, 0, RoundingAreaDivisor(pixels),
                           pixels / 2};
    std::vector<std::uint8_t> out(kNewWidth * 4), expected(out.size());
    for (std::size_t i = 0; i < expected.size(); ++i)
      expected[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 0 : (2 * sums[i] + pixels) / (2 * pixels));
    Kernels().averageSmall(out.data(), sums.data(), columns);
    ASSERT_EQ(expected, out) << pixels << " pixels, small";
    for (columns.count = kNewWidth; columns.count > kNewWidth - 5; --columns.count) {
      std::vector<std::uint8_t> divided(static_cast<std::size_t>(columns.count) * 4);
      Kernels().divideSums(divided.data(), sums.data(), columns);
      ASSERT_TRUE(std::equal(divided.begin(), divided.end(), expected.begin()))
          << pixels << " pixels, divided";
    }
  }
}

TEST_P(AreaAverage, AveragesTilesUpToTheRowsEnd) {
  test::Random random(9);
  for (int round = 0; round < 400; ++round) {
    const int boxWidth = random.Between(1, 8), boxHeight = random.Between(1, kAreaRowsAtOnce);
    const int newWidth = random.Between(1, 60);
    if (!Kernels().canTile(boxWidth, boxHeight, newWidth)) continue;
    const auto bytes = static_cast<std::size_t>(newWidth * boxWidth) * 4;
    const auto at = random.OneIn(2) ? test::Fence::At::kEnd : test::Fence::At::kStart;
    test::Fence first(bytes, at), second(bytes, at), out(static_cast<std::size_t>(newWidth) * 4, at);
    for (std::size_t i = 0; i < bytes; ++i) {
      first.Data()[i] = random.OneIn(3) ? 255 : random.Byte();
      second.Data()[i] = random.OneIn(3) ? 255 : random.Byte();
    }
    const std::uint8_t* rows[kAreaRowsAtOnce] = {first.Data(), second.Data(), second.Data(), first.Data()};
    const int pixels = boxWidth * boxHeight;
    AreaColumns columns = {nullptr, newWidth, boxWidth, 4, pixels, 0xFF000000u, DivisorOf(pixels), 0};
    if (random.OneIn(2)) columns.divisor = RoundingAreaDivisor(pixels), columns.lift = pixels / 2;
    if (random.OneIn(2))
      columns = {nullptr,       newWidth, boxWidth, 4, boxHeight, 0, RoundingAreaDivisor(boxHeight),
                 boxHeight / 2, true};
    std::vector<std::uint8_t> expected(out.Size());
    const auto average = random.OneIn(2) ? Kernels().averageTiles : Kernels().averageFarTiles;
    average(out.Data(), rows, boxHeight, columns);
    ref::AverageTiles(expected.data(), rows, boxHeight, columns);
    ASSERT_EQ(-1, FirstDifference(out.Data(), expected.data(), newWidth * 4))
        << newWidth << " boxes of " << boxWidth << " × " << boxHeight << (columns.rowMeans ? ", means" : "");
  }
}

TEST_P(AreaAverage, RepeatsPixelsUpToTheRowsEnd) {
  test::Random random(5);
  for (int round = 0; round < 300; ++round) {
    const int sourceWidth = random.Between(1, 90);
    const int newWidth = sourceWidth + (random.OneIn(4) ? 0 : random.Between(0, 300));
    const AreaAxis axis = MakeAreaAxis(sourceWidth, newWidth);
    std::vector<std::int32_t> starts(static_cast<std::size_t>(newWidth));
    for (int x = 0; x < newWidth; ++x) starts[static_cast<std::size_t>(x)] = axis.Start(x);
    const auto at = random.OneIn(2) ? test::Fence::At::kEnd : test::Fence::At::kStart;
    const int used = starts.back() + 1;
    test::Fence row(static_cast<std::size_t>(used) * 4, at), out(static_cast<std::size_t>(newWidth) * 4, at);
    for (std::size_t i = 0; i < row.Size(); ++i) row.Data()[i] = random.Byte();
    std::vector<std::uint8_t> expected(out.Size());
    const std::uint32_t top = random.OneIn(2) ? 0xFF000000u : 0u;
    Kernels().repeatPixels(out.Data(), row.Data(), starts.data(), newWidth, top);
    ref::RepeatPixels(expected.data(), row.Data(), starts.data(), newWidth, top);
    ASSERT_EQ(-1, FirstDifference(out.Data(), expected.data(), newWidth * 4))
        << sourceWidth << " -> " << newWidth;
  }
}

// Lines of cache are shared by rows or not, and what lies between rows stays as it is.
TEST_P(AreaAverage, RepeatsRowsAndNothingBetween) {
  if (!Kernels().repeatRows) GTEST_SKIP() << "rows are copied at this level";
  test::Random random(8);
  for (int round = 0; round < 300; ++round) {
    const int sourceWidth = random.Between(1, 60), newWidth = sourceWidth + random.Between(0, 300);
    const int bytes = newWidth * 4, count = random.Between(1, 8);
    const int stride = random.OneIn(3) ? bytes + random.Between(0, 9) : (bytes + 63) / 64 * 64;
    const AreaAxis axis = MakeAreaAxis(sourceWidth, newWidth);
    std::vector<std::int32_t> starts;
    for (int x = 0; x < newWidth; ++x) starts.push_back(axis.Start(x));
    test::Fence row(static_cast<std::size_t>(starts.back() + 1) * 4);
    for (std::size_t i = 0; i < row.Size(); ++i) row.Data()[i] = random.Byte();
    test::Fence out(static_cast<std::size_t>(stride * (count - 1) + bytes));
    std::memset(out.Data(), 0x5A, out.Size());
    std::vector<std::uint8_t> expected(out.Size(), 0x5A);
    const std::uint32_t top = random.OneIn(2) ? 0xFF000000u : 0u;
    std::vector<std::uint8_t*> rows, expectedRows;
    for (int n = 0; n < count; ++n) {
      rows.push_back(out.Data() + n * stride);
      expectedRows.push_back(expected.data() + n * stride);
    }
    Kernels().repeatRows({rows.data(), count}, row.Data(), starts.data(), newWidth, top);
    Kernels().finishCopies();
    ref::RepeatRows({expectedRows.data(), count}, row.Data(), starts.data(), newWidth, top);
    ASSERT_EQ(-1, FirstDifference(out.Data(), expected.data(), static_cast<int>(out.Size())))
        << sourceWidth << " -> " << newWidth << ", " << count << " rows " << stride << " apart";
  }
}

TEST_P(AreaAverage, CopiesRowsOfAnyAlignment) {
  test::Random random(6);
  for (int bytes = 0; bytes < 600; bytes += bytes < 260 ? 1 : 37) {
    test::Fence from(static_cast<std::size_t>(bytes)), to(static_cast<std::size_t>(bytes));
    for (int i = 0; i < bytes; ++i) from.Data()[i] = random.Byte();
    Kernels().copyRow(to.Data(), from.Data(), bytes);
    ASSERT_EQ(0, std::memcmp(to.Data(), from.Data(), static_cast<std::size_t>(bytes))) << bytes;
  }
}

TEST(AreaAverageLevels, EachRunsItsOwnVariant) {
  EXPECT_NE(kAreaAverageSse2.averageSmall, kAreaAverageScalar.averageSmall);
  EXPECT_NE(kAreaAverageAvx2.averageSmall, kAreaAverageSse41.averageSmall);
  EXPECT_NE(kAreaAverageAvx512.averageSmall, kAreaAverageAvx2.averageSmall);
  EXPECT_NE(kAreaAverageAvx512.addRows, kAreaAverageAvx2.addRows);
}

TEST(IndexRatio, TruncatesTheProductOfSixtyFourSignificantBits) {
  // The double next below 1/3, times 3, lies below 1; rounded to double first it would be 1.
  EXPECT_EQ(0, IndexRatio(2.0 / 6).Times(3));
  EXPECT_EQ(1, IndexRatio(2.0 / 6).Times(4));
  test::Random random(7);
  for (int round = 0; round < 20000; ++round) {
    const int target = random.Between(1, random.OneIn(2) ? 40 : 40000);
    const int source = random.Between(1, random.OneIn(2) ? 40 : 2000000);
    const int index = random.OneIn(3) ? target - 1 : random.Between(0, target - 1);
    const double ratio = static_cast<double>(source) / target;
    // An x87 register holds 64 significant bits.
    const volatile long double product = static_cast<long double>(index) * static_cast<long double>(ratio);
    ASSERT_EQ(static_cast<std::int32_t>(product), IndexRatio(ratio).Times(index))
        << index << " × " << source << " / " << target;
  }
}

TEST(AreaAxis, BoxesStayInsideTheSource) {
  test::Random random(8);
  for (int round = 0; round < 20000; ++round) {
    const int target = random.Between(1, 300);
    const int source = random.Between(1, random.OneIn(2) ? 300 : 30000);
    const AreaAxis axis = MakeAreaAxis(source, target);
    const int last = IndexRatio(static_cast<double>(source) / target).Times(target - 1);
    ASSERT_LE(last + axis.box, source) << source << " -> " << target;
    ASSERT_EQ(last, axis.Start(target - 1));
  }
}

}  // namespace
}  // namespace pixmorph::kernels
