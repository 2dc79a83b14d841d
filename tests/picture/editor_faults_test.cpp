#include <gtest/gtest.h>

#include <vector>

#include "host/services.h"
#include "picture/locks.h"
#include "picture/toolkit.h"
#include "tests/picture/picture_world.h"

// Locks that grant nonsense, and buffers that the runtime takes or not: nothing is used that was not granted,
// and what was granted is given back.
namespace {

using namespace test;
using pixmorph::PictureReader;
using pixmorph::PictureWriter;

// One granted lock, filled in at will.
struct Grant {
  int result = 1;
  int kind = 0;
  void* data = nullptr;
  int width = 3, height = 2;
} gGrant;
int gKindAsked, gLocks, gUnlocks, gUnrefs;

int GrantLock(void*, pixmorph::REALpictureDescription* description, int kind) {
  if (kind != gKindAsked) return 0x100;
  EXPECT_EQ(description->kind, 0);
  EXPECT_EQ(description->data, nullptr);
  ++gLocks;
  *description = {gGrant.kind, gGrant.data, gGrant.width, gGrant.height, -1, 0xFF, {}};
  return gGrant.result;
}
void CountUnlock(void*) { ++gUnlocks; }

Config WithOwnLocks(Mode mode, int kind) {
  Config config = ConfigFor(mode);
  config.overrides["REALLockPictureDescription"] = reinterpret_cast<void*>(&GrantLock);
  config.overrides["unlockPictureDescription"] = reinterpret_cast<void*>(&CountUnlock);
  gKindAsked = kind;
  return config;
}

// A set-up with the grant as it stands: whether it succeeded, and that a granted lock is ended once.
void ExpectSetUp(const Ref& picture, bool expected, const char* what) {
  gLocks = gUnlocks = 0;
  {
    PictureReader reader;
    reader.description = {gKindAsked, &gGrant, 9, 9, 0, 0, {}};  // as an earlier set-up leaves it
    EXPECT_EQ(reader.GetPictureEditor(Handle(picture), 0, 0), expected) << what;
    EXPECT_EQ(reader.picture != nullptr, expected) << what;
    EXPECT_EQ(gUnlocks, !expected && gGrant.result & 0xFF ? 1 : 0) << what;
  }
  EXPECT_EQ(gLocks, 1) << what;
  EXPECT_EQ(gUnlocks, gGrant.result & 0xFF ? 1 : 0) << what;
  EXPECT_EQ(standin::CheckLedger(), "") << what;
}

TEST(EditorFaults, BitmapRecordsAreCheckedWordByWord) {
  const auto body = [] {
    StartWorld(WithOwnLocks(Mode::kConsole, 10));
    const Ref picture = standin::NewPicture(3, 2);
    std::uint32_t pixels[6] = {};
    std::uint32_t* rows[2] = {pixels, pixels + 3};
    std::vector<std::uint32_t> record(1808);
    const auto set = [&record](std::uint32_t zero, std::uint32_t nonZero, void* table) {
      record[0] = zero, record[1806] = nonZero, record[1807] = reinterpret_cast<std::uintptr_t>(table);
    };
    const auto grant = [&](int kind, int width, int height) {
      set(0, 7, rows);
      gGrant = {1, kind, record.data(), width, height};
    };
    grant(10, 3, 2), ExpectSetUp(picture, true, "sound");
    grant(10, 3, 2), gGrant.result = 0x7F00, ExpectSetUp(picture, false, "only the low byte counts");
    grant(10, 3, 2), gGrant.result = 0x7F80, ExpectSetUp(picture, true, "any low byte counts");
    grant(10, 3, 2), set(1, 7, rows), ExpectSetUp(picture, false, "first word");
    grant(10, 3, 2), set(0, 0, rows), ExpectSetUp(picture, false, "second last word");
    grant(10, 3, 2), set(0, 7, nullptr), ExpectSetUp(picture, false, "no row table");
    grant(12, 3, 2), ExpectSetUp(picture, false, "another kind");
    grant(10, 3, 2), gGrant.data = nullptr, ExpectSetUp(picture, false, "no record");
    for (const auto& [w, h] : {std::pair(0, 2), {3, 0}, {-3, 2}, {3, -2}, {INT32_MIN, 2}, {0x20000000, 2}}) {
      grant(10, w, h), ExpectSetUp(picture, false, "a side below 1 or a row beyond 31 bits");
    }
  };
  EXPECT_TRUE(PassesInChild(body));
}

// The toolkits' side of a set-up, answering at will.
struct Toolkit {
  void* handle = nullptr;  // surface or pixbuf
  std::uint8_t* pixels = nullptr;
  int width = 3, height = 2, stride = 12;
} gToolkit;

void ReplaceToolkit() {
  pixmorph::_cairo_get_target = [](void*) { return gToolkit.handle; };
  pixmorph::_cairo_image_surface_get_data = [](void*) { return gToolkit.pixels; };
  pixmorph::_cairo_image_surface_get_width = [](void*) { return gToolkit.width; };
  pixmorph::_cairo_image_surface_get_height = [](void*) { return gToolkit.height; };
  pixmorph::_cairo_image_surface_get_stride = [](void*) { return gToolkit.stride; };
  pixmorph::_gdk_pixbuf_get_from_drawable = [](void*, void*, void*, int, int, int, int, int width,
                                               int height) {
    EXPECT_GT(width, 0);
    EXPECT_GT(height, 0);
    return gToolkit.handle;
  };
  pixmorph::_gdk_pixbuf_get_pixels = [](const void*) { return gToolkit.pixels; };
  pixmorph::_gdk_pixbuf_get_rowstride = [](const void*) { return gToolkit.stride; };
  pixmorph::_gdk_pixbuf_unref = [](void* pixbuf) { gUnrefs += pixbuf == gToolkit.handle; };
}

TEST(EditorFaults, SurfacesAndPixbufsWithoutPixelsAreRefused) {
  for (const int kind : {12, 6}) {
    const auto body = [kind] {
      StartWorld(WithOwnLocks(Mode::kCairo, kind));
      ASSERT_TRUE(kind == 12 ? pixmorph::LoadCairo() : pixmorph::LoadGTK());
      ReplaceToolkit();
      const Ref picture = standin::NewPicture(3, 2);
      std::uint8_t memory[24];
      const auto expect = [&](int grantedKind, void* data, int width, int height, const Toolkit& toolkit,
                              bool ready, int unrefs) {
        gGrant = {1, grantedKind, data, width, height};
        gToolkit = toolkit;
        gUnrefs = 0;
        ExpectSetUp(picture, ready, "");
        EXPECT_EQ(gUnrefs, kind == 6 ? unrefs : 0);
      };
      const Toolkit sound{memory, memory, 3, 2, 12};
      expect(kind, memory, 3, 2, sound, true, 1);
      expect(kind, nullptr, 3, 2, sound, false, 0);
      expect(kind + 1, memory, 3, 2, sound, false, 0);
      expect(kind, memory, 3, 2, {nullptr, memory, 3, 2, 12}, false, 0);
      expect(kind, memory, 3, 2, {memory, nullptr, 3, 2, 12}, false, 1);
      // A surface knows its own sides; of a drawable only the description does.
      const bool surface = kind == 12;
      expect(kind, memory, surface ? 3 : 0, 2, {memory, memory, 0, 2, 12}, false, 0);
      expect(kind, memory, 3, surface ? 2 : -1, {memory, memory, 3, -1, 12}, false, 0);
      if (surface) expect(kind, memory, 3, 2, {memory, memory, 3, 2, 0}, false, 0);
    };
    EXPECT_TRUE(PassesInChild(body)) << "kind " << kind;
  }
}

void* BuildNothing(int, int, int, void*, int) { return nullptr; }

TEST(EditorFaults, AnOwnBufferIsFreedOnlyWhileItIsOurs) {
  const Config display = ConfigFor(Mode::kGdk);
  for (const bool missing : {true, false}) {
    const auto body = [missing, config = display]() mutable {
      // The runtime that lacks the service never gets the buffer; the other one keeps it and gives nothing.
      if (missing)
        config.missingServices.insert("REALBuildPictureFromBuffer");
      else
        config.overrides["REALBuildPictureFromBuffer"] = reinterpret_cast<void*>(&BuildNothing);
      StartWorld(config);
      const standin::InsidePlugin inside;
      PictureWriter writer;
      ASSERT_TRUE(writer.NewPictureWriter(3, 2));
      standin::ClearLog();
      EXPECT_EQ(writer.RenderPictureWriter(), nullptr);
      EXPECT_EQ(standin::Lookups(), std::vector<std::string>{"REALBuildPictureFromBuffer"});
      EXPECT_EQ(writer.RenderPictureWriter(), nullptr);
      if (!standin::AllocatorInterposed()) return;
      EXPECT_EQ(standin::LivePluginBlocks(), missing ? 0u : 1u);
    };
    EXPECT_TRUE(PassesInChild(body)) << missing;
  }
}

TEST(Locks, NilIsNeverLockedOrUnlocked) {
  const auto body = [] {
    StartWorld(ConfigFor(Mode::kConsole, kOldVersion));
    pixmorph::REALpictureDescription description{};
    EXPECT_FALSE(pixmorph::REALLockPictureDescriptionX(nullptr, &description, 10));
    pixmorph::REALUnlockPictureDescriptionAfterFailure(nullptr);
    pixmorph::UnlockThePicture(nullptr, nullptr);
    EXPECT_EQ(pixmorph::GetPictureLockCount(nullptr), 0);
    EXPECT_EQ(Trace(), "");
  };
  EXPECT_TRUE(PassesInChild(body));
}

}  // namespace
