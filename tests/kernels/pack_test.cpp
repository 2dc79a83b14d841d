#include "kernels/pack_kernel.h"

#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "kernels/levels.h"
#include "tests/support/fence.h"
#include "tests/support/random.h"

namespace pixmorph::kernels {
namespace {

class PackLevel : public testing::TestWithParam<Level> {
 protected:
  void SetUp() override {
    if (GetParam() > BestLevel()) GTEST_SKIP() << "this processor lacks the level";
  }
  const PackKernels& Kernels() const { return *TableOf(GetParam()).pack; }
};

std::string Name(const testing::TestParamInfo<Level>& info) { return TableOf(info.param).name; }
INSTANTIATE_TEST_SUITE_P(Levels, PackLevel,
                         testing::Values(Level::kScalar, Level::kSse2, Level::kSse41, Level::kAvx2,
                                         Level::kAvx512),
                         Name);

// One row of random bytes between fences, converted to another; the expectation is spelled out pixel by
// pixel.
struct Rows {
  Rows(test::Random& random, int pixels, int fromBytes, int toBytes)
      : count(pixels),
        from(static_cast<std::size_t>(pixels * fromBytes),
             random.OneIn(2) ? test::Fence::At::kEnd : test::Fence::At::kStart),
        to(static_cast<std::size_t>(pixels * toBytes),
           random.OneIn(2) ? test::Fence::At::kEnd : test::Fence::At::kStart),
        top(random.OneIn(2) ? 0xFF000000u : 0u) {
    for (std::size_t i = 0; i < from.Size(); ++i) from.Data()[i] = random.Byte();
  }
  int count;
  test::Fence from, to;
  std::uint32_t top;
};

TEST_P(PackLevel, ConvertsRowsUpToTheirLastByte) {
  test::Random random(5);
  for (int round = 0; round < 400; ++round) {
    const int count = round < 200 ? round / 2 : random.Between(0, 600);
    const auto unpack = round % 2 ? Kernels().rgb24ToBgrx : Kernels().rgb24ToBgrxAhead;
    Rows unpacked(random, count, 3, 4), packed(random, count, 4, 3), rewritten(random, count, 4, 4);
    unpack(unpacked.to.Data(), unpacked.from.Data(), count, unpacked.top);
    Kernels().bgrxToRgb24(packed.to.Data(), packed.from.Data(), count);
    Kernels().bgrxWithTop(rewritten.to.Data(), rewritten.from.Data(), count, rewritten.top);
    for (int i = 0; i < count; ++i) {
      const std::uint8_t* rgb = unpacked.from.Data() + i * 3;
      const std::uint8_t* bgrx = packed.from.Data() + i * 4;
      const std::uint8_t* old = rewritten.from.Data() + i * 4;
      const std::uint8_t wanted[3][4] = {
          {rgb[2], rgb[1], rgb[0], static_cast<std::uint8_t>(unpacked.top >> 24)},
          {bgrx[2], bgrx[1], bgrx[0]},
          {old[0], old[1], old[2], static_cast<std::uint8_t>(rewritten.top >> 24)}};
      ASSERT_EQ(0, std::memcmp(wanted[0], unpacked.to.Data() + i * 4, 4))
          << "unpacked pixel " << i << " of " << count;
      ASSERT_EQ(0, std::memcmp(wanted[1], packed.to.Data() + i * 3, 3))
          << "packed pixel " << i << " of " << count;
      ASSERT_EQ(0, std::memcmp(wanted[2], rewritten.to.Data() + i * 4, 4))
          << "rewritten pixel " << i << " of " << count;
    }
  }
}

TEST_P(PackLevel, RewritesTopsInPlace) {
  test::Random random(6);
  std::vector<std::uint32_t> pixels = random.Pixels(133);
  const std::vector<std::uint32_t> old = pixels;
  auto* bytes = reinterpret_cast<std::uint8_t*>(pixels.data());
  Kernels().bgrxWithTop(bytes, bytes, static_cast<std::int32_t>(pixels.size()), 0xFF000000u);
  for (std::size_t i = 0; i < pixels.size(); ++i) ASSERT_EQ(old[i] | 0xFF000000u, pixels[i]) << i;
}

TEST(PackLevels, AreFunctionsOfTheirOwn) {
  std::set<const void*> functions;
  for (int level = 0; level < kLevelCount; ++level)
    functions.insert(reinterpret_cast<const void*>(TableOf(static_cast<Level>(level)).pack->rgb24ToBgrx));
  EXPECT_EQ(static_cast<std::size_t>(kLevelCount), functions.size());
}

}  // namespace
}  // namespace pixmorph::kernels
