#include <gtest/gtest.h>

#include <vector>

#include "tests/picture/picture_world.h"
#include "tests/support/random.h"

// Pixels through editors, on every way the runtime stores them.
namespace {

using namespace test;
using pixmorph::PictureEditor;
using pixmorph::PictureReader;
using pixmorph::PictureWriter;

struct StoreCase {
  const char* name;
  Mode mode;
  standin::StoreOptions options;
  bool alpha;
  int readerType, writerType;
};

standin::StoreOptions Options(Store store, standin::Guard guard, int extra, bool scrambled) {
  standin::StoreOptions options;
  options.store = store;
  options.guard = guard;
  options.extraStrideBytes = extra;
  options.scrambledRows = scrambled;
  return options;
}

const StoreCase kStores[] = {
    {"rows", Mode::kConsole, Options(Store::kBitmap, standin::Guard::kRows, 0, true), false, 8, 8},
    {"padded rows", Mode::kConsole, Options(Store::kBitmap, standin::Guard::kPicture, 12, true), true, 8, 8},
    {"surface", Mode::kCairo, Options(Store::kCairo, standin::Guard::kPicture, 20, false), false, 15, 15},
    {"alpha surface", Mode::kCairo, Options(Store::kCairo, standin::Guard::kPicture, 8, false), true, 14, 14},
    {"pixmap", Mode::kGdk, Options(Store::kGdk, standin::Guard::kNone, 0, false), false, 11, 11},
};

std::uint32_t PixelAt(const PictureEditor& editor, const std::uint8_t* row, int x) {
  const std::uint8_t* p = row + x * editor.GetBytesPerPixel();
  return static_cast<std::uint32_t>(p[editor.GetRedOffset()] << 16 | p[editor.GetGreenOffset()] << 8 |
                                    p[editor.GetBlueOffset()]);
}

// Every row by its number, last one first, against the runtime's own view.
void ExpectReads(PictureReader& reader, const std::vector<std::uint32_t>& pixels) {
  for (int y = reader.height - 1; y >= 0; --y) {
    const std::uint8_t* row = reader.GetRow(y);
    EXPECT_EQ(reader.rowIndex, y);
    for (int x = 0; x < reader.width; ++x) {
      const std::uint32_t wanted = pixels[static_cast<std::size_t>(y * reader.width + x)] & 0xFFFFFF;
      ASSERT_EQ(PixelAt(reader, row, x), wanted) << x << ", " << y;
    }
  }
  EXPECT_EQ(reader.GetRow(reader.height), reader.base);
}

// Row by row from the first on; afterwards the writer stands at the first row again.
void WriteAll(PictureWriter& writer, const std::vector<std::uint32_t>& pixels) {
  for (int y = 0; y < writer.height; ++y, writer.AddPixelRow()) {
    for (int x = 0; x < writer.width; ++x) {
      const std::uint32_t pixel = pixels[static_cast<std::size_t>(y * writer.width + x)];
      const auto red = static_cast<std::uint8_t>(pixel >> 16), green = static_cast<std::uint8_t>(pixel >> 8);
      pixmorph::kernels::StorePixel(writer.Layout(), writer.row + x * writer.pixelSize,
                                    {red, green, static_cast<std::uint8_t>(pixel)});
    }
  }
  EXPECT_EQ(writer.row, writer.base);
}

void ExpectWritten(const Ref& made, const std::vector<std::uint32_t>& pixels, std::uint32_t top) {
  ASSERT_TRUE(made);
  const auto written = standin::GetPixels(made);
  ASSERT_EQ(written.size(), pixels.size());
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    ASSERT_EQ(written[i], top | (pixels[i] & 0xFFFFFF)) << "pixel " << i;
  }
  EXPECT_TRUE(standin::PaddingIntact(made));
}

void CopyThroughEditors(const StoreCase& store, Random& random, int width, int height) {
  const standin::InsidePlugin inside;
  const Ref source = store.alpha ? standin::NewAlphaPicture(width, height, store.options)
                                 : standin::NewPicture(width, height, store.options);
  const auto pixels = random.Pixels(width * height);
  standin::SetPixels(source, pixels);
  PictureReader reader;
  ASSERT_TRUE(reader.GetPictureReader(Handle(source)));
  EXPECT_EQ(reader.pixelType, store.readerType);
  EXPECT_EQ(reader.hasAlpha, store.alpha);
  EXPECT_EQ(reader.width, width);
  EXPECT_EQ(reader.height, height);
  ExpectReads(reader, pixels);
  PictureWriter writer;
  ASSERT_TRUE(writer.NewPictureWriter(reader, width, height));
  EXPECT_EQ(writer.pixelType, store.writerType);
  EXPECT_EQ(writer.pixelSize, writer.GetBytesPerPixel());
  WriteAll(writer, pixels);
  const Ref made = Ref::Adopt(writer.RenderPictureWriter());
  const bool opaque = store.writerType == 14 || store.writerType == 15;
  ExpectWritten(made, pixels, opaque ? 0xFF000000u : 0);
  EXPECT_EQ(standin::GetPixels(source), store.readerType == 11 ? standin::GetPixels(made) : pixels);
  reader.clear();
  EXPECT_EQ(standin::ClearCacheCount(source), 0);
  EXPECT_EQ(standin::CheckLedger(), "");
}

TEST(EditorPixels, SurviveACopyOnEveryStore) {
  for (const StoreCase& store : kStores) {
    Config config = ConfigFor(store.mode);
    config.newPictures = config.newAlphaPictures = store.options;
    const auto body = [&] {
      StartWorld(config);
      Random random;
      for (int i = 0; i < 12; ++i) {
        CopyThroughEditors(store, random, i < 2 ? 1 : random.Between(1, 40),
                           i % 2 ? 1 : random.Between(1, 20));
      }
    };
    EXPECT_TRUE(PassesInChild(body)) << store.name;
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
