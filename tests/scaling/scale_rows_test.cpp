#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "kernels/levels.h"
#include "scaling/area_rows.h"
#include "scaling/smooth_rows.h"
#include "tests/support/fence.h"
#include "tests/support/random.h"

// Rows of both resizes in every pair of layouts and at every level, against the definitions.
namespace pixmorph {
namespace {

using kernels::Level;
using kernels::PixelLayout;

constexpr PixelLayout kLayouts[] = {PixelLayout::kBgrx0, PixelLayout::kBgrxF, PixelLayout::kRgb24};

class ScaleRows : public testing::TestWithParam<Level> {
 protected:
  void SetUp() override {
    if (GetParam() > kernels::BestLevel()) GTEST_SKIP() << "this processor lacks the level";
  }
  const kernels::KernelTable& Table() const { return kernels::TableOf(GetParam()); }
};

std::string Name(const testing::TestParamInfo<Level>& info) { return kernels::TableOf(info.param).name; }
INSTANTIATE_TEST_SUITE_P(Levels, ScaleRows,
                         testing::Values(Level::kScalar, Level::kSse2, Level::kSse41, Level::kAvx2,
                                         Level::kAvx512),
                         Name);

// Rows apart from each other, the last one ending at a page that may not be touched, reached by a table.
struct Source {
  Source(test::Random& random, PixelLayout layout, int width, int height)
      : rowBytes(width * kernels::BytesPerPixel(layout)),
        memory(static_cast<std::size_t>((rowBytes + 5) * height - 5)) {
    const std::uint8_t tone = random.Byte();
    const int kind = random.Between(0, 2);
    for (std::size_t i = 0; i < memory.Size(); ++i)
      memory.Data()[i] = kind == 0 ? random.Byte() : kind == 1 ? tone : random.OneIn(2) ? 255 : 0;
    for (int y = 0; y < height; ++y) table.push_back(memory.Data() + y * (rowBytes + 5));
    pixels = {{random.OneIn(2) ? table.data() : nullptr, memory.Data(), rowBytes + 5}, layout, width, height};
  }
  int rowBytes;
  test::Fence memory;
  std::vector<const std::uint8_t*> table;
  SourcePixels pixels;
};

void CheckArea(const kernels::KernelTable& table, test::Random& random, PixelLayout from, PixelLayout to,
               int width, int height, int newWidth, int newHeight) {
  const Source source(random, from, width, height);
  const kernels::AreaAxis across = kernels::MakeAreaAxis(width, newWidth);
  const kernels::AreaAxis down = kernels::MakeAreaAxis(height, newHeight);
  AreaRows rows(source.pixels, to, newWidth, newHeight, table);
  const int rowBytes = newWidth * kernels::BytesPerPixel(to);
  test::Fence made(static_cast<std::size_t>(rowBytes * newHeight));
  std::vector<std::uint8_t> expected(static_cast<std::size_t>(rowBytes));
  std::vector<std::uint8_t*> out;
  for (int y = 0; y < newHeight; ++y) out.push_back(made.Data() + y * rowBytes);
  for (int y = 0, next = 0; y < newHeight; ++y) {
    if (y == next) {
      next += rows.AtOnce(y);
      ASSERT_LE(next, newHeight);
      rows.MakeRows(&out[static_cast<std::size_t>(y)], next - y, y);
    }
    const std::uint8_t* const row = made.Data() + y * rowBytes;
    kernels::ref::AreaAverageRow(expected.data(), to, source.pixels.rows, from, across, down, y);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), row))
        << width << " × " << height << " -> " << newWidth << " × " << newHeight << ", layouts "
        << static_cast<int>(from) << " -> " << static_cast<int>(to) << ", row " << y;
  }
}

TEST_P(ScaleRows, AreaAveragesAreTheDefinitions) {
  test::Random random(21);
  for (const PixelLayout from : kLayouts)
    for (const PixelLayout to : kLayouts) {
      for (int round = 0; round < 12; ++round)
        CheckArea(Table(), random, from, to, random.Between(1, 60), random.Between(1, 40),
                  random.Between(1, 60), random.Between(1, 40));
      // Tiles, repeated pixels, and boxes that leave 16 bits in one direction or the other.
      CheckArea(Table(), random, from, to, 44, 24, 11, 6);
      CheckArea(Table(), random, from, to, 38, 6, 19, 3);
      // Too large for the caches; rows repeat up to nine and up to 32 times.
      CheckArea(Table(), random, from, to, 31, 50, 640, 430);
      CheckArea(Table(), random, from, to, 30, 13, 641, 410);
      CheckArea(Table(), random, from, to, 33, 3, 129, 7);
      CheckArea(Table(), random, from, to, 3, 700, 2, 2);
      CheckArea(Table(), random, from, to, 900, 2, 2, 1);
    }
  // Sources too large for the caches, in tiles and in other boxes.
  CheckArea(Table(), random, PixelLayout::kBgrx0, PixelLayout::kBgrx0, 2064, 2036, 516, 509);
  CheckArea(Table(), random, PixelLayout::kBgrxF, PixelLayout::kRgb24, 2064, 2036, 631, 388);
}

// Byte of a pixel of `to` that shows the same colour as byte `channel` of `from`; -1 for none.
int Counterpart(int channel, PixelLayout from, PixelLayout to) {
  if ((from == PixelLayout::kRgb24) == (to == PixelLayout::kRgb24)) return channel;
  return channel == 3 ? -1 : 2 - channel;
}

std::vector<std::uint8_t> ExpectedSmoothRow(const SourcePixels& source, const SmoothTables& tables,
                                            PixelLayout to, int newWidth, int y) {
  const int fromBytes = kernels::BytesPerPixel(source.layout), toBytes = kernels::BytesPerPixel(to);
  std::vector<std::uint8_t> row(static_cast<std::size_t>(newWidth * toBytes), 0xFF);
  std::vector<float> buffer(static_cast<std::size_t>(source.width));
  for (int channel = 0; channel < fromBytes; ++channel) {
    const int place = Counterpart(channel, source.layout, to);
    if (place < 0) continue;
    const std::uint8_t* taps[4];
    for (int tap = 0; tap < 4; ++tap)
      taps[tap] = source.rows.Row(std::clamp(tables.RowIndex(y) - 1 + tap, 0, source.height - 1)) + channel;
    kernels::ref::SmoothVertical(buffer.data(), taps, fromBytes, tables.RowWeights(y), source.width);
    kernels::ref::SmoothHorizontal(row.data() + place, toBytes, buffer.data(), source.width,
                                   tables.ColumnIndex(), tables.ColumnWeights(), newWidth);
  }
  return row;
}

void CheckSmooth(const kernels::KernelTable& table, test::Random& random, PixelLayout from, PixelLayout to,
                 int width, int height, int newWidth, int newHeight) {
  const Source source(random, from, width, height);
  SmoothTables tables(width, height, newWidth, newHeight);
  ASSERT_TRUE(tables.Allocate());
  tables.FillIndexes();
  tables.FillColumnWeights();
  tables.FillRowWeights();
  SmoothRows rows(source.pixels, to, tables, newWidth, newHeight, table);
  ASSERT_TRUE(rows.Ready());
  test::Fence made(static_cast<std::size_t>(newWidth * kernels::BytesPerPixel(to)));
  for (int y = 0; y < newHeight; ++y) {
    rows.MakeRow(made.Data(), y);
    const std::vector<std::uint8_t> expected = ExpectedSmoothRow(source.pixels, tables, to, newWidth, y);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), made.Data()))
        << width << " × " << height << " -> " << newWidth << " × " << newHeight << ", layouts "
        << static_cast<int>(from) << " -> " << static_cast<int>(to) << ", row " << y;
  }
}

TEST_P(ScaleRows, SmoothEnlargementsAreTheDefinitions) {
  test::Random random(22);
  for (const PixelLayout from : kLayouts)
    for (const PixelLayout to : kLayouts) {
      for (int round = 0; round < 6; ++round) {
        const int width = random.Between(1, 40), height = random.Between(1, 12);
        CheckSmooth(Table(), random, from, to, width, height, width + random.Between(1, 60),
                    height + random.Between(1, 20));
      }
      CheckSmooth(Table(), random, from, to, 20, 6, 40, 12);
      CheckSmooth(Table(), random, from, to, 11, 4, 33, 12);
      CheckSmooth(Table(), random, from, to, 9, 4, 36, 17);
      CheckSmooth(Table(), random, from, to, 15, 5, 18, 6);
    }
}

}  // namespace
}  // namespace pixmorph
