#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/resolver.h"
#include "kernels/levels.h"
#include "standin/clock.h"
#include "standin/display.h"
#include "standin/faults.h"
#include "standin/ledger.h"
#include "standin/methods.h"
#include "standin/picture.h"
#include "standin/runtime.h"
#include "tests/support/fresh_process.h"
#include "tests/support/random.h"

extern "C" void REALPluginMain(pixmorph::REALResolver resolver);

// What the tests of both effects share: plain bitmaps, and a runtime in each of its modes.
namespace test {

using standin::Ref;

struct Bitmap {
  int width = 0, height = 0;
  std::vector<std::uint32_t> pixels;
  std::uint32_t& At(int x, int y) { return pixels[Index(x, y)]; }
  std::uint32_t At(int x, int y) const { return pixels[Index(x, y)]; }
  std::size_t Index(int x, int y) const { return static_cast<std::size_t>(y * width + x); }
};

inline Bitmap RandomBitmap(Random& random, int width, int height) {
  return {width, height, random.Pixels(width * height)};
}

inline int Channel(std::uint32_t pixel, int channel) {
  return static_cast<int>(pixel >> (8 * channel) & 0xFF);
}

struct World {
  const char* name;
  standin::Mode mode;
  standin::Store store;  // of the pictures that tests make
  std::uint32_t top;     // top byte of what the plugin writes into new pictures
};
constexpr World kConsole = {"console", standin::Mode::kConsole, standin::Store::kBitmap, 0};
constexpr World kCairo = {"cairo", standin::Mode::kCairo, standin::Store::kCairo, 0xFF000000u};
constexpr World kGdk = {"gdk", standin::Mode::kGdk, standin::Store::kGdk, 0};

inline Ref PictureOf(const Bitmap& bitmap, standin::Store store) {
  standin::StoreOptions options;
  options.store = store;
  options.guard = standin::Guard::kRows;
  options.extraStrideBytes = store == standin::Store::kGdk ? 0 : 8;
  options.scrambledRows = store == standin::Store::kBitmap;
  const Ref picture = standin::NewPicture(bitmap.width, bitmap.height, options);
  standin::SetPixels(picture, bitmap.pixels);
  return picture;
}

inline Ref AlphaPictureOf(const Bitmap& bitmap) {
  const Ref picture = standin::NewAlphaPicture(bitmap.width, bitmap.height);
  standin::SetPixels(picture, bitmap.pixels);
  return picture;
}

// Runs `body` in a process of its own per mode, at the end of which everything must be given back.
inline void InWorlds(const std::vector<World>& worlds, const std::function<void(const World&)>& body) {
  static std::unique_ptr<standin::OwnDisplay> display;
  for (const World& world : worlds) {
    if (world.mode == standin::Mode::kGdk && !display) display = std::make_unique<standin::OwnDisplay>();
    EXPECT_TRUE(PassesInChild([&] {
      standin::Config config;
      config.mode = world.mode;
      standin::Start(config);
      standin::AttachPluginEntry(&REALPluginMain);
      standin::ResetPluginMemory();
      body(world);
      EXPECT_EQ("", standin::CheckLedger());
    })) << world.name;
  }
}

inline void AtEveryLevel(const std::function<void()>& body) {
  for (int level = 0; level < pixmorph::kernels::kLevelCount; ++level) {
    if (!pixmorph::kernels::ForceLevel(static_cast<pixmorph::kernels::Level>(level))) continue;
    SCOPED_TRACE(pixmorph::kernels::Kernels().name);
    body();
  }
}

// Every yield point yields, since the clock moves on with every reading.
inline void YieldAlways() {
  standin::SetClock(1000);
  standin::SetClockStep(1);
  standin::ClearLog();
}

inline int Yields() { return standin::CallCount("REALYieldToRB"); }

}  // namespace test
