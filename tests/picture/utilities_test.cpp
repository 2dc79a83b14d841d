#include "picture/utilities.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <vector>

#include "tests/picture/picture_world.h"
#include "tests/support/random.h"

namespace {

using namespace test;
using pixmorph::REALpictureStruct;

constexpr char kDraw[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";
const standin::StoreOptions kBitmap{Store::kBitmap};

void In(const Config& config, const std::function<void()>& body) {
  const auto child = [&] {
    StartWorld(config);
    body();
    EXPECT_EQ(standin::CheckLedger(), "");
  };
  EXPECT_TRUE(PassesInChild(child));
}

// Runs `body` with the log emptied first and compares the calls.
template <class Body>
void ExpectTrace(const std::string& trace, const Body& body) {
  standin::ClearLog();
  body();
  EXPECT_EQ(Trace(), trace);
}

Ref Noise(int width, int height, const standin::StoreOptions& options = standin::DefaultStore(false)) {
  const Ref picture = standin::NewPicture(width, height, options);
  Random random(static_cast<std::uint64_t>(width * 100 + height));
  standin::SetPixels(picture, random.Pixels(width * height));
  return picture;
}

std::vector<std::uint32_t> Colours(const Ref& picture) {
  auto pixels = standin::GetPixels(picture);
  for (auto& pixel : pixels) pixel &= 0xFFFFFF;
  return pixels;
}

TEST(PictureUtilities, PropertiesThatCannotBeReadAreZero) {
  In(ConfigFor(Mode::kCairo), [] {
    const Ref picture = standin::NewAlphaPicture(7, 5);
    EXPECT_EQ(pixmorph::GetPictureWidth(Handle(picture)), 7);
    EXPECT_EQ(pixmorph::GetPictureHeight(Handle(picture)), 5);
    EXPECT_TRUE(pixmorph::PictureHasAlphaChannel(Handle(picture)));
    EXPECT_FALSE(pixmorph::PictureHasAlphaChannel(Handle(standin::NewPicture(1, 1))));
    for (const char* name : {"Width", "Height", "HasAlphaChannel"})
      standin::CurrentConfig().missingProperties.insert(name);
    for (REALpictureStruct* one : {Handle(picture), static_cast<REALpictureStruct*>(nullptr)}) {
      EXPECT_EQ(pixmorph::GetPictureWidth(one), 0);
      EXPECT_EQ(pixmorph::GetPictureHeight(one), 0);
      EXPECT_FALSE(pixmorph::PictureHasAlphaChannel(one));
    }
  });
}

TEST(PictureUtilities, NewPicturesByVersionAndSize) {
  struct Case {
    double version;
    int width, height;
    bool alpha, made, hasAlpha;
  };
  const Case cases[] = {{2011.04, 10, 9, true, true, true},      {2011.03, 10, 9, true, true, false},
                        {2011.04, 10, 9, false, true, false},    {2011.04, 0, 9, true, false, false},
                        {2011.04, 32768, 9, true, false, false}, {2011.04, 10, 32768, false, false, false}};
  for (const Case& one : cases) {
    In(ConfigFor(Mode::kConsole, one.version), [&one] {
      const Ref made = Ref::Adopt(pixmorph::NewPicture(one.width, one.height, one.alpha));
      ASSERT_EQ(static_cast<bool>(made), one.made);
      if (made) {
        EXPECT_EQ(standin::HasAlpha(made), one.hasAlpha);
      }
      const Ref alpha = Ref::Adopt(pixmorph::NewPictureWithAlphaChannel(one.width, one.height));
      EXPECT_EQ(static_cast<bool>(alpha), one.version >= 2011.04 && one.width > 0);
    });
  }
  Config config = ConfigFor(Mode::kCairo);
  config.missingMethods.insert("Constructor(width as integer, height as integer)");
  In(config, [] {
    ExpectTrace("instance method unref",
                [] { EXPECT_EQ(pixmorph::NewPictureWithAlphaChannel(3, 3), nullptr); });
  });
}

TEST(PictureUtilities, ClonesCarryPixelsAndTheMaskWhereAsked) {
  In(ConfigFor(Mode::kCairo), [] {
    const Ref picture = Noise(6, 4);
    const Ref mask = Noise(6, 4);
    standin::SetMask(picture, mask);
    Ref clone;
    const std::string drawn = "graphics method draw unref";
    ExpectTrace("Width Height new " + drawn,
                [&] { clone = Ref::Adopt(pixmorph::ClonePicture(Handle(picture))); });
    EXPECT_EQ(Colours(clone), Colours(picture));
    EXPECT_FALSE(standin::MaskOf(clone));
    ExpectTrace("Width Height new " + drawn + " mask mask " + drawn + " unref unref",
                [&] { clone = Ref::Adopt(pixmorph::ClonePictureWithMask(Handle(picture))); });
    EXPECT_EQ(Colours(clone), Colours(picture));
    EXPECT_EQ(Colours(standin::MaskOf(clone)), Colours(mask));
    ExpectTrace("", [&] {
      EXPECT_EQ(pixmorph::ClonePicture(Handle(picture), 0, 4), nullptr);
      EXPECT_EQ(pixmorph::ClonePictureWithMask(Handle(picture), 6, -1), nullptr);
      EXPECT_EQ(pixmorph::ClonePicture(nullptr), nullptr);
      EXPECT_EQ(pixmorph::ClonePictureWithMask(nullptr), nullptr);
      EXPECT_EQ(pixmorph::BitmapPicture(nullptr), nullptr);
    });
    EXPECT_EQ(Ref::Adopt(pixmorph::BitmapPicture(Handle(picture))), picture);
    standin::CurrentConfig().missingMethods.insert(kDraw);
    clone = Ref::Adopt(pixmorph::ClonePicture(Handle(picture)));
    EXPECT_EQ(Colours(clone), std::vector<std::uint32_t>(24)) << "undrawn";
  });
}

TEST(PictureUtilities, AnAlphaChannelBecomesAMask) {
  In(ConfigFor(Mode::kCairo), [] {
    const Ref picture = standin::NewAlphaPicture(2, 1);
    standin::SetPixels(picture, {0x00102030, 0xC0405060});
    Ref converted;
    ExpectTrace("new graphics method draw unref method copymask method assign unref",
                [&] { converted = Ref::Adopt(pixmorph::ConvertToPictureWithMask(Handle(picture), 2, 1)); });
    EXPECT_FALSE(standin::HasAlpha(converted));
    EXPECT_EQ(Colours(converted), Colours(picture));
    EXPECT_EQ(Colours(standin::MaskOf(converted)), (std::vector<std::uint32_t>{0xFFFFFF, 0x3F3F3F}));
    ExpectTrace("", [&] {
      EXPECT_FALSE(pixmorph::AssignMask(Handle(picture), nullptr));
      EXPECT_FALSE(pixmorph::AssignMask(nullptr, Handle(picture)));
      EXPECT_EQ(pixmorph::CopyMask(nullptr), nullptr);
      EXPECT_EQ(pixmorph::ConvertToPictureWithMask(nullptr, 2, 1), nullptr);
    });
    standin::CurrentConfig().missingMethods = {"CopyMask as Picture", "Mask(assigns newMask As Picture)"};
    EXPECT_EQ(pixmorph::CopyMask(Handle(picture)), nullptr);
    EXPECT_FALSE(pixmorph::AssignMask(Handle(converted), Handle(picture)));
    EXPECT_TRUE(Ref::Adopt(pixmorph::ConvertToPictureWithMask(Handle(picture), 2, 1)));
  });
}

TEST(PictureUtilities, DrawingWithoutAMethodCopiesRows) {
  for (const double version : {kOldVersion, kNewVersion}) {
    Config config = ConfigFor(Mode::kConsole, version);
    config.missingMethods.insert(kDraw);
    In(config, [version] {
      const Ref from = Noise(5, 3);
      const Ref to = standin::NewPicture(5, 3);
      const std::string copy = "lock10 lock10 unlock unlock clear";
      ExpectTrace("graphics method " + copy + " unref", [&] {
        EXPECT_TRUE(pixmorph::GraphicsDrawPicture(Handle(to), Handle(from), 0, 0, 5, 3, 0, 0, 5, 3));
      });
      EXPECT_EQ(standin::GetPixels(to), standin::GetPixels(from));
      const auto& names = standin::Lookups();
      EXPECT_EQ(std::count(names.begin(), names.end(), "RuntimeGraphicsDrawPicture"),
                version < 2012.0 ? 1 : 0);
      EXPECT_FALSE(pixmorph::GraphicsDrawPicture(Handle(to), nullptr, 0, 0, 5, 3, 0, 0, 5, 3));
    });
  }
}

TEST(OwnCopy, CopiesWholeBitmapsOfOneSizeOnly) {
  struct Case {
    const char* name;
    standin::StoreOptions from, to;
    int height;
    std::array<int, 8> rectangles;
    bool copied;
    std::string trace;
  };
  standin::StoreOptions scrambled = kBitmap;
  scrambled.scrambledRows = true;
  scrambled.extraStrideBytes = 8;
  scrambled.guard = standin::Guard::kPicture;
  const standin::StoreOptions refusing{Store::kRefusing};
  const std::array<int, 8> whole = {0, 0, 5, 3, 0, 0, 5, 3};
  const std::string both = "lock10 lock10 unlock unlock clear";
  const Case cases[] = {
      {"whole", scrambled, scrambled, 3, whole, true, both},
      {"named part", kBitmap, kBitmap, 3, {0, 0, 2, 2, 0, 0, 2, 2}, true, both},
      {"another height", kBitmap, kBitmap, 4, whole, false, both},
      {"source refused", refusing, kBitmap, 3, whole, false, "lock10"},
      {"destination refused", kBitmap, refusing, 3, whole, false, "lock10 lock10 unlock clear"},
      {"offset", kBitmap, kBitmap, 3, {0, 1, 5, 3, 0, 0, 5, 3}, false, ""},
      {"source offset", kBitmap, kBitmap, 3, {0, 0, 5, 3, 1, 0, 5, 3}, false, ""},
      {"scaled", kBitmap, kBitmap, 3, {0, 0, 5, 3, 0, 0, 5, 2}, false, ""},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.name);
    In(ConfigFor(Mode::kConsole), [&one] {
      const Ref from = Noise(5, 3, one.from);
      const Ref to = standin::NewPicture(5, one.height, one.to);
      const auto& [x, y, w, h, sx, sy, sw, sh] = one.rectangles;
      ExpectTrace(one.trace, [&, x = x, y = y, w = w, h = h, sx = sx, sy = sy, sw = sw, sh = sh] {
        EXPECT_EQ(pixmorph::OwnCopy(Handle(to), Handle(from), x, y, w, h, sx, sy, sw, sh), one.copied);
      });
      EXPECT_EQ(standin::GetPixels(to) == standin::GetPixels(from), one.copied);
      EXPECT_TRUE(standin::PaddingIntact(to));
    });
  }
}

}  // namespace
