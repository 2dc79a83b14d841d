#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/images/image.h"
#include "tools/images/orientation.h"

namespace tool {
namespace {

// A stored 2x3 picture with pixels 1 to 6 in reading order.
Image Numbered() {
  Image image;
  image.size = {2, 3};
  image.pixels = {1, 2, 3, 4, 5, 6};
  return image;
}

TEST(Orientation, TurnsEveryTagUpright) {
  struct Case {
    int tag;
    Size size;
    std::vector<std::uint32_t> pixels;
  };
  // Where the stored first row and first column belong, tag by tag: 6 is the usual upright phone.
  const Case cases[] = {
      {1, {2, 3}, {1, 2, 3, 4, 5, 6}}, {2, {2, 3}, {2, 1, 4, 3, 6, 5}}, {3, {2, 3}, {6, 5, 4, 3, 2, 1}},
      {4, {2, 3}, {5, 6, 3, 4, 1, 2}}, {5, {3, 2}, {1, 3, 5, 2, 4, 6}}, {6, {3, 2}, {5, 3, 1, 6, 4, 2}},
      {7, {3, 2}, {6, 4, 2, 5, 3, 1}}, {8, {3, 2}, {2, 4, 6, 1, 3, 5}},
  };
  for (const Case& c : cases) {
    const Image upright = Upright(Numbered(), c.tag);
    EXPECT_EQ(ToText(upright.size), ToText(c.size)) << c.tag;
    EXPECT_EQ(upright.pixels, c.pixels) << c.tag;
  }
}

std::vector<std::uint8_t> ExifRecord(bool bigEndian, std::uint8_t orientation) {
  if (bigEndian) {
    return {'E',  'x',  'i', 'f', 0, 0, 'M', 'M', 0, 42,          0, 0, 0, 8, 0, 1,
            0x01, 0x12, 0,   3,   0, 0, 0,   1,   0, orientation, 0, 0, 0, 0, 0, 0};
  }
  return {'E',  'x',  'i', 'f', 0, 0, 'I', 'I', 42,          0, 8, 0, 0, 0, 1, 0,
          0x12, 0x01, 3,   0,   1, 0, 0,   0,   orientation, 0, 0, 0, 0, 0, 0, 0};
}

TEST(Orientation, IsReadInBothByteOrdersAndNeverPastTheEnd) {
  for (const bool bigEndian : {false, true}) {
    const std::vector<std::uint8_t> record = ExifRecord(bigEndian, 6);
    EXPECT_EQ(ExifOrientation(record.data(), record.size()), 6);
    // Every truncation of a copy of its own, so that a sanitizer sees a read past the end.
    for (std::size_t length = 0; length < 28; ++length) {
      const std::vector<std::uint8_t> cut(record.begin(),
                                          record.begin() + static_cast<std::ptrdiff_t>(length));
      EXPECT_EQ(ExifOrientation(cut.data(), cut.size()), 1) << length;
    }
    const std::vector<std::uint8_t> wild = ExifRecord(bigEndian, 9);
    EXPECT_EQ(ExifOrientation(wild.data(), wild.size()), 1);
  }
}

TEST(OverWhite, MixesByAlphaAndRoundsToNearest) {
  Image image;
  image.size = {3, 1};
  image.hasAlpha = true;
  image.pixels = {0x00123456, 0xFF123456, 0x80FF0064};
  const Image flat = OverWhite(image);
  EXPECT_FALSE(flat.hasAlpha);
  EXPECT_EQ(flat.pixels[0], 0xFFFFFFFFu);
  EXPECT_EQ(flat.pixels[1], 0xFF123456u);
  // 255; 127 of 255; 100 * 128 / 255 + 127 = 177.2
  EXPECT_EQ(flat.pixels[2], 0xFFFF7FB1u);
}

}  // namespace
}  // namespace tool
