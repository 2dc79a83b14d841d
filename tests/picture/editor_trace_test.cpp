#include <gtest/gtest.h>

#include <functional>

#include "tests/picture/picture_world.h"

// What editors ask of the runtime, call by call: a runtime sees exactly these calls in this order.
namespace {

using namespace test;
using pixmorph::PictureEditor;
using pixmorph::PictureReader;
using pixmorph::PictureWriter;

struct TraceCase {
  const char* name;
  Config config;
  std::function<void()> body;
  std::string trace;
};

Config WithPlainStore(Config config, Store store) {
  config.newPictures = standin::StoreOptions{store};
  return config;
}

Config Classes(Config config, std::set<std::string> classes) {
  config.applicationClasses = std::move(classes);
  return config;
}

void Read(const Ref& picture, bool expected) {
  standin::ClearLog();
  PictureReader reader;
  EXPECT_EQ(reader.GetPictureReader(Handle(picture)), expected);
  EXPECT_EQ(standin::LockCount(picture), expected && reader.picture == picture.Get() ? 1 : 0);
}

// A writer that delivers a picture of 3 × 2, or none.
void Write(const std::function<bool(PictureWriter&)>& setUp, bool expected) {
  PictureWriter writer;
  EXPECT_EQ(setUp(writer), expected);
  const Ref made = Ref::Adopt(writer.RenderPictureWriter());
  EXPECT_EQ(static_cast<bool>(made), expected);
  if (!made) return;
  EXPECT_EQ(standin::Width(made), 3);
  EXPECT_EQ(standin::Height(made), 2);
}

void WritePlain(bool expected) {
  Write([](PictureWriter& writer) { return writer.NewPictureWriter(3, 2); }, expected);
}
void WriteAlpha(bool expected) {
  Write([](PictureWriter& writer) { return writer.NewPictureWriterWithAlphaChannel(3, 2); }, expected);
}
void WriteEither(bool alpha) {
  Write([alpha](PictureWriter& writer) { return writer.NewPictureWriter(3, 2, alpha); }, true);
}
void WriteExisting(int width, int height, const standin::StoreOptions& options) {
  const Ref existing = standin::NewPicture(width, height, options);
  Write([&](PictureWriter& writer) { return writer.NewPictureWriter(Handle(existing), 3, 2); }, true);
}

const std::string kDetect = "A W C ";
const standin::StoreOptions kCairoStore{Store::kCairo};
const standin::StoreOptions kRefusingStore{Store::kRefusing};

std::vector<TraceCase> ReaderCases() {
  const Config console = ConfigFor(Mode::kConsole);
  const Config cairo = ConfigFor(Mode::kCairo);
  const Config old = ConfigFor(Mode::kCairo, kOldVersion);
  const std::string copied = "Width Height new graphics method draw unref alpha ";
  return {
      {"nil", cairo, [] { EXPECT_FALSE(PictureReader().GetPictureReader(nullptr)); }, ""},
      {"console", console, [] { Read(standin::NewPicture(3, 2), true); },
       kDetect + "alpha lock10 ref unlock unref"},
      {"cairo", cairo, [] { Read(standin::NewPicture(3, 2), true); },
       kDetect + "alpha lock12 ref unlock unref"},
      {"cairo, alpha", cairo, [] { Read(standin::NewAlphaPicture(3, 2), true); },
       kDetect + "alpha lock12 ref unlock unref"},
      {"pixmap", ConfigFor(Mode::kGdk), [] { Read(standin::NewPicture(3, 2), true); },
       kDetect + "alpha lock12 lock6 ref unlock unref"},
      {"copy", cairo, [] { Read(standin::NewPicture(3, 2, kRefusingStore), true); },
       kDetect + "alpha lock12 lock6 " + copied + "lock12 ref unref unlock unref"},
      {"copy, old", old, [] { Read(standin::NewPicture(3, 2, kRefusingStore), true); },
       kDetect + "alpha lock12 unlock lock6 unlock " + copied + "lock12 ref unref unlock unref"},
      {"a copy is not copied", WithPlainStore(cairo, Store::kRefusing),
       [] { Read(standin::NewPicture(3, 2, kRefusingStore), false); },
       kDetect + "alpha lock12 lock6 " + copied + "lock12 lock6 unref"},
      {"no mode, copy is a bitmap", Classes(WithPlainStore(cairo, Store::kBitmap), {}),
       [] { Read(standin::NewPicture(3, 2, kRefusingStore), true); },
       kDetect + "alpha lock12 lock6 Width Height new graphics method draw unref " + kDetect +
           "alpha lock12 lock6 lock10 ref unref unlock unref"},
      {"alpha has no copy", cairo, [] { Read(standin::NewAlphaPicture(3, 2, kRefusingStore), false); },
       kDetect + "alpha lock12"},
      {"alpha, no mode", Classes(old, {}),
       [] { Read(standin::NewAlphaPicture(3, 2, kRefusingStore), false); },
       kDetect + "alpha lock12 unlock lock10 unlock"},
  };
}

std::vector<TraceCase> WriterCases() {
  const Config console = ConfigFor(Mode::kConsole);
  const Config cairo = ConfigFor(Mode::kCairo);
  Config mixed = ConfigFor(Mode::kGdk);
  mixed.newAlphaPictures = kRefusingStore;
  const std::string rendered = "ref unref ref clear unlock clear unref";
  const std::string own = "alpha lock12 lock6 ref unlock clear unref";
  return {
      {"console", console, [] { WritePlain(true); }, "new " + kDetect + "alpha lock10 " + rendered},
      {"cairo", cairo, [] { WritePlain(true); }, "new " + kDetect + "alpha lock12 " + rendered},
      {"alpha", cairo, [] { WriteAlpha(true); },
       "instance method construct " + kDetect + "alpha lock12 " + rendered},
      {"alpha, too old", ConfigFor(Mode::kCairo, 2011.03), [] { WriteAlpha(false); }, ""},
      {"pixmap", ConfigFor(Mode::kGdk), [] { WritePlain(true); }, "new " + kDetect + own + " unref build"},
      {"refused", WithPlainStore(cairo, Store::kRefusing), [] { WritePlain(false); },
       "new " + kDetect + "alpha lock12 lock6 unref"},
      {"refused, no mode", Classes(WithPlainStore(cairo, Store::kRefusing), {}), [] { WritePlain(false); },
       "new " + kDetect + "alpha lock12 lock6 lock10 unref"},
      {"either falls back", mixed, [] { WriteEither(true); },
       "instance method construct " + kDetect + "alpha lock12 unref new " + own + " unref build"},
      {"either, plain", cairo, [] { WriteEither(false); }, "new " + kDetect + "alpha lock12 " + rendered},
      {"existing", cairo, [] { WriteExisting(3, 2, kCairoStore); },
       "Width Height " + kDetect + "alpha lock12 ref ref clear unlock clear unref"},
      {"existing pixmap", ConfigFor(Mode::kGdk), [] { WriteExisting(4, 3, {Store::kGdk}); },
       "Width Height " + kDetect + own + " build"},
      {"existing, too small", cairo, [] { WriteExisting(3, 1, kCairoStore); },
       "Width Height new " + kDetect + "alpha lock12 " + rendered},
      {"existing, refused", cairo, [] { WriteExisting(3, 2, kRefusingStore); },
       "Width Height " + kDetect + "alpha lock12 lock6 new alpha lock12 " + rendered},
  };
}

// One child per case: the run mode is found once per process.
void RunCases(const std::vector<TraceCase>& cases) {
  for (const TraceCase& one : cases) {
    const auto body = [&one] {
      StartWorld(one.config);
      one.body();
      EXPECT_EQ(Trace(), one.trace);
      EXPECT_EQ(standin::CheckLedger(), "");
    };
    EXPECT_TRUE(PassesInChild(body)) << one.name;
  }
}

TEST(EditorTrace, Readers) { RunCases(ReaderCases()); }
TEST(EditorTrace, Writers) { RunCases(WriterCases()); }

TEST(EditorTrace, InPlaceOnACopyIsRefusedWithTheEditorStillSetUp) {
  const Config config = ConfigFor(Mode::kGdk);
  const auto body = [&config] {
    StartWorld(config);
    const Ref pixmap = standin::NewPicture(3, 2);
    const Ref surface = standin::NewPicture(3, 2, kCairoStore);
    {
      PictureEditor editor;
      EXPECT_FALSE(editor.GetPictureEditor(Handle(pixmap)));
      EXPECT_EQ(editor.picture, pixmap.Get());
      EXPECT_NE(editor.pixbuf, nullptr);
      EXPECT_EQ(standin::LockCount(pixmap), 1);
      EXPECT_TRUE(editor.GetPictureEditor(Handle(surface)));
      EXPECT_EQ(standin::LockCount(pixmap), 0);
    }
    EXPECT_EQ(Trace(),
              kDetect + "alpha lock12 lock6 ref unlock clear unref alpha lock12 ref unlock clear unref");
    EXPECT_EQ(standin::CheckLedger(), "");
  };
  EXPECT_TRUE(PassesInChild(body));
}

TEST(EditorTrace, RunModeFollowsTheApplicationClasses) {
  struct ModeCase {
    std::set<std::string> classes;
    bool desktop, console;
  };
  const ModeCase cases[] = {{{}, false, false},
                            {{"Application"}, true, false},
                            {{"ConsoleApplication"}, false, true},
                            {{"WebApplication"}, false, true},
                            {{"Application", "ConsoleApplication", "WebApplication"}, true, false}};
  for (const ModeCase& one : cases) {
    const auto body = [&one] {
      StartWorld(Classes(ConfigFor(Mode::kCairo), one.classes));
      pixmorph::CheckApplication();
      EXPECT_EQ(pixmorph::IsDesktop, one.desktop);
      EXPECT_EQ(pixmorph::IsConsole, one.console);
      // A granted lock settles what the classes left open.
      const Ref picture = standin::NewAlphaPicture(3, 2, standin::StoreOptions{Store::kBitmap});
      Read(picture, !one.desktop);
      EXPECT_EQ(pixmorph::IsConsole, !one.desktop);
      EXPECT_EQ(pixmorph::IsDesktop, one.desktop);
    };
    EXPECT_TRUE(PassesInChild(body)) << testing::PrintToString(one.classes);
  }
}

}  // namespace
