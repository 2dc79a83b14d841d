#include <gtest/gtest.h>

#include <vector>

#include "tests/picture/picture_world.h"

// Pixels through editors, on every way the runtime stores them.
namespace {

using namespace test;
using pixmorph::PictureReader;
using pixmorph::PictureWriter;

// A bitmap's rows lie anywhere; those of a surface and of a pixbuf follow each other.
TEST(EditorPixels, RowsByNumberAndOneByOne) {
  for (const Mode mode : {Mode::kConsole, Mode::kCairo, Mode::kGdk}) {
    const Config config = ConfigFor(mode);
    const auto body = [&config] {
      StartWorld(config);
      standin::StoreOptions options = standin::DefaultStore(false);
      options.scrambledRows = config.mode == Mode::kConsole;
      options.extraStrideBytes = config.mode == Mode::kGdk ? 0 : 12;
      const Ref source = standin::NewPicture(3, 5, options);
      standin::SetPixels(source, {1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4, 5, 5, 5});
      PictureReader reader;
      ASSERT_TRUE(reader.GetPictureReader(Handle(source)));
      const auto blue = [&reader](const std::uint8_t* row) { return row[reader.GetBlueOffset()]; };
      for (const int y : {4, 0, 2, 3, 1}) EXPECT_EQ(blue(reader.GetRow(y)), y + 1);
      EXPECT_EQ(reader.GetRow(5), reader.base);
      EXPECT_EQ(reader.row, reader.base);
      reader.rowIndex = 0;
      for (const int wanted : {2, 3, 4, 5, 1}) {
        EXPECT_EQ(blue(reader.AddPixelRow()), wanted);
        EXPECT_EQ(blue(reader.row + 2 * reader.GetBytesPerPixel()), wanted);
      }
    };
    EXPECT_TRUE(PassesInChild(body)) << static_cast<int>(mode);
  }
}

TEST(EditorPixels, OwnBufferHasNoPaddingAndOneRowMore) {
  const Config config = ConfigFor(Mode::kGdk);
  const auto body = [&config] {
    StartWorld(config);
    const standin::InsidePlugin inside;
    {
      PictureWriter writer;
      ASSERT_TRUE(writer.NewPictureWriter(5, 4));
      EXPECT_EQ(writer.rowBytes, 15);
      EXPECT_EQ(writer.buffer, writer.base);
      EXPECT_EQ(writer.picture, nullptr);
      EXPECT_EQ(std::vector<std::uint8_t>(writer.buffer, writer.buffer + 75), std::vector<std::uint8_t>(75));
    }
    EXPECT_EQ(standin::CheckLedger(), "") << "never rendered";
    // A side below 1, and sizes that no memory can hold or that would wrap.
    for (const auto& [width, height] :
         {std::pair(0, 4), {4, 0}, {-1, 4}, {INT32_MAX, 1}, {40000, 60000}, {1, INT32_MAX}}) {
      PictureWriter writer;
      EXPECT_FALSE(writer.NewPictureWriterLinux(width, height)) << width << " x " << height;
      EXPECT_EQ(writer.buffer, nullptr);
      EXPECT_EQ(writer.RenderPictureWriter(), nullptr);
    }
  };
  EXPECT_TRUE(PassesInChild(body));
}

TEST(EditorPixels, PlainWritersTakeSidesUpTo32767) {
  const auto body = [] {
    StartWorld(ConfigFor(Mode::kConsole));
    for (const auto& [width, height] : {std::pair(0, 10), {10, 0}, {-3, 10}, {32768, 10}, {10, 32768}}) {
      EXPECT_FALSE(PictureWriter().NewPictureWriter(width, height)) << width << " x " << height;
    }
    EXPECT_EQ(Trace(), "");
    EXPECT_TRUE(PictureWriter().NewPictureWriter(32767, 1));
    EXPECT_TRUE(PictureWriter().NewPictureWriter(1, 32767));
    // A set-up that fails lets go of what was held before.
    PictureWriter writer;
    EXPECT_TRUE(writer.NewPictureWriter(2, 2));
    EXPECT_FALSE(writer.NewPictureWriter(0, 2));
    EXPECT_EQ(standin::CheckLedger(), "");
    EXPECT_EQ(writer.RenderPictureWriter(), nullptr);
  };
  EXPECT_TRUE(PassesInChild(body));
}

// The layouts that kernels use and the table of offsets are two accounts of the same memory.
TEST(PixelFormat, LayoutsAgreeWithTheTable) {
  const std::uint8_t bytes[4] = {10, 20, 30, 40};
  for (int type = -2; type < 20; ++type) {
    const auto layout = pixmorph::LayoutOf(type);
    const bool used = type == 8 || type == 11 || type == 14 || type == 15;
    EXPECT_EQ(layout != pixmorph::kernels::PixelLayout::kNone, used) << type;
    const auto& row = pixmorph::PixelTypeInfo(type);
    if (type < 0 || type > 16) {
      EXPECT_EQ(row.bytesPerPixel, 0) << type;
    }
    if (!used) continue;
    const auto pixel = pixmorph::kernels::LoadPixel(layout, bytes);
    EXPECT_EQ(pixmorph::kernels::BytesPerPixel(layout), row.bytesPerPixel);
    EXPECT_EQ(pixel.red, bytes[row.redOffset]);
    EXPECT_EQ(pixel.green, bytes[row.greenOffset]);
    EXPECT_EQ(pixel.blue, bytes[row.blueOffset]);
  }
}

}  // namespace
