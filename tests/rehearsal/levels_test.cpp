#include "kernels/levels.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "bench/rehearsal/picture.h"
#include "effects/blur.h"
#include "effects/draw.h"
#include "picture/pixel_format.h"
#include "scaling/resample.h"
#include "scaling/scale.h"
#include "support/wide_registers.h"
#include "tests/support/random.h"
#include "tests/support/wide_registers.h"

// Whole calls of the methods on random pictures: every level gives what the scalar one gives, each byte of a
// row.
namespace {

using pixmorph::kernels::Level;
using PicturePtr = std::shared_ptr<rehearsal::Picture>;

// Fewer as a 32-bit program, which may have to run in an emulator.
constexpr int kUsualCases = sizeof(void*) == 4 ? 3000 : 12000;

// PIXMORPH_CASES in the environment asks for more; PIXMORPH_CASE for one alone.
int Number(const char* variable, int otherwise) {
  const char* text = std::getenv(variable);
  return text ? std::atoi(text) : otherwise;
}

PicturePtr Own(rehearsal::Picture* picture) {
  return {picture, [](rehearsal::Picture* p) {
            if (p) rehearsal::Release(p);
          }};
}

std::vector<std::uint8_t> BytesOf(const rehearsal::Picture* picture) {
  if (!picture) return {};
  return {picture->pixels, picture->pixels + picture->height * picture->strideBytes};
}

const std::vector<std::int32_t> kTypes = {pixmorph::kPixelHostRGB32, pixmorph::kPixelRGB24,
                                          pixmorph::kPixelCairoAlpha32, pixmorph::kPixelCairoRGB32};
const std::vector<std::int32_t> kPlainTypes = {pixmorph::kPixelHostRGB32, pixmorph::kPixelRGB24,
                                               pixmorph::kPixelCairoRGB32};
// As destinations and masks of drawing.
const std::vector<std::int32_t> kEdited = {pixmorph::kPixelHostRGB32, pixmorph::kPixelCairoAlpha32,
                                           pixmorph::kPixelCairoRGB32};

// Noise, one colour, two tones as in line art, steps as in screenshots, dark ramps: where ties are frequent
// too.
void Fill(test::Random& random, rehearsal::Picture& picture) {
  const int style = random.Between(0, 4), bytes = picture.height * picture.strideBytes;
  const std::uint8_t low = random.Byte(), high = random.OneIn(2) ? 255 : random.Byte();
  for (int i = 0; i < bytes; ++i) {
    const int ramp = i % picture.strideBytes / 4 / 3;
    picture.pixels[i] = style == 0   ? random.Byte()
                        : style == 1 ? low
                        : style == 2 ? (random.OneIn(2) ? low : high)
                        : style == 3 ? static_cast<std::uint8_t>(ramp / 5 * 16)
                                     : static_cast<std::uint8_t>(ramp & 15);
  }
}

PicturePtr Made(test::Random& random, int width, int height, std::int32_t type) {
  PicturePtr picture = Own(rehearsal::NewPicture(width, height, type));
  Fill(random, *picture);
  return picture;
}

// One call; `Run` may be repeated at any level.
class Case {
 public:
  explicit Case(test::Random& random) : method_(random.Between(0, 5)) {
    const int limit = random.OneIn(8) ? 400 : 60;
    source_ = Made(random, random.Between(1, limit), random.Between(1, limit / 2), random.Pick(kTypes));
    resultType_ = random.Pick(kPlainTypes);
    width_ = Side(random, source_->width), height_ = Side(random, source_->height);
    if (random.OneIn(5)) ReduceWholly(random);
    mode_ = random.Between(1, 7);
    radius_ = random.OneIn(5) ? random.Between(100, 1500) : random.Between(1, 40);
    if (method_ >= 4) AddDestination(random);
  }

  std::vector<std::uint8_t> Run() const {
    rehearsal::gNewPictureType = resultType_;
    switch (method_) {
      case 0:
        return BytesOf(Own(pixmorph::PictureResizeKTZ(source_.get(), width_, height_, false, 0)).get());
      case 1:
        return BytesOf(Own(pixmorph::PictureResizeKTZ(source_.get(), source_->width + width_,
                                                      source_->height + height_, true, 0))
                           .get());
      case 2:
        return BytesOf(Own(pixmorph::PictureScalingKTZ(source_.get(), mode_, width_, height_, 0)).get());
      case 3:
        return BytesOf(Own(pixmorph::BlurKTZ(source_.get(), radius_, 0)).get());
      default:
        return Drawn();
    }
  }

  std::string Told() const {
    return "method " + std::to_string(method_) + ", " + std::to_string(source_->width) + "x" +
           std::to_string(source_->height) + " of type " + std::to_string(source_->pixelType) + " to " +
           std::to_string(width_) + "x" + std::to_string(height_) + " of type " +
           std::to_string(resultType_) + ", mode " + std::to_string(mode_) + ", radius " +
           std::to_string(radius_) + ", at " + std::to_string(x_) + "," + std::to_string(y_) + ", opacity " +
           std::to_string(opacity_);
  }

 private:
  static int Side(test::Random& random, int side) {
    switch (random.Between(0, 3)) {
      case 0:
        return side * random.Between(1, 4);
      case 1:
        return 1 + side / random.Between(1, 5);
      default:
        return random.Between(1, 2 * side + 3);
    }
  }

  // Whole pixels make one.
  void ReduceWholly(test::Random& random) {
    width_ = random.Between(1, 40), height_ = random.Between(1, 20);
    source_ = Made(random, width_ * random.Between(1, 5), height_ * random.Between(1, 5), source_->pixelType);
  }

  void AddDestination(test::Random& random) {
    destination_ = Made(random, random.Between(1, 120), random.Between(1, 60), random.Pick(kEdited));
    // Large enough for what is worth a table only then.
    if (method_ == 5 && random.OneIn(20)) {
      source_ = Made(random, random.Between(300, 340), 250, source_->pixelType);
      destination_ = Made(random, 300, 240, destination_->pixelType);
    }
    const int narrower = source_->width > 1 ? -1 : 0;
    if (method_ == 5)
      mask_ =
          Made(random, source_->width + random.Between(narrower, 1), source_->height, random.Pick(kEdited));
    const double fraction = random.OneIn(3) ? 0.5 : random.OneIn(4) ? 0.0 : random.Real(0, 1);
    x_ = random.Between(-40, 80) + fraction;
    y_ = random.Between(-20, 40) + (random.OneIn(2) ? fraction : random.Real(0, 1));
    opacity_ = random.OneIn(3) ? 1.0 : random.OneIn(10) ? random.Real(-1, 3) : random.Real(0, 1);
  }

  std::vector<std::uint8_t> Drawn() const {
    const PicturePtr onto =
        Own(rehearsal::NewPicture(destination_->width, destination_->height, destination_->pixelType));
    std::memcpy(onto->pixels, destination_->pixels, BytesOf(destination_.get()).size());
    if (mask_) rehearsal::Retain(mask_.get());
    source_->mask = mask_.get();
    const bool drawn = pixmorph::DrawPictureF(onto.get(), source_.get(), x_, y_, opacity_, 0);
    if (mask_) rehearsal::Release(mask_.get());
    source_->mask = nullptr;
    return drawn ? BytesOf(onto.get()) : std::vector<std::uint8_t>();
  }

  int method_, width_, height_, mode_;
  double radius_, x_ = 0, y_ = 0, opacity_ = 1;
  std::int32_t resultType_;
  PicturePtr source_, destination_, mask_;
};

TEST(WholeMethods, GiveTheSameBytesOnEveryLevel) {
  const int only = Number("PIXMORPH_CASE", -1), count = Number("PIXMORPH_CASES", kUsualCases);
  const Level best = pixmorph::kernels::BestLevel();
  for (int number = only < 0 ? 0 : only; number < (only < 0 ? count : only + 1); ++number) {
    test::Random random(static_cast<std::uint64_t>(number) + 1000);
    const Case call(random);
    ASSERT_TRUE(pixmorph::kernels::ForceLevel(Level::kScalar));
    const std::vector<std::uint8_t> expected = call.Run();
    ASSERT_FALSE(expected.empty()) << call.Told();
    for (int level = 1; level <= static_cast<int>(best); ++level) {
      ASSERT_TRUE(pixmorph::kernels::ForceLevel(static_cast<Level>(level)));
      ASSERT_TRUE(call.Run() == expected)
          << "PIXMORPH_CASE=" << number << " at " << pixmorph::kernels::Kernels().name << ": " << call.Told();
    }
    if ((number + 1) % 100000 == 0) std::printf("%d cases\n", number + 1);
  }
  pixmorph::kernels::ForceLevel(best);
}

// SSE code of the application must not pay for the plugin's AVX code, neither afterwards nor in yields.
TEST(WholeMethods, LeaveTheWideRegisters) {
  if (!test::TellsStatesInUse()) GTEST_SKIP() << "this processor doesn't tell";
  const Level best = pixmorph::kernels::BestLevel();
  for (int level = static_cast<int>(Level::kAvx2); level <= static_cast<int>(best); ++level) {
    ASSERT_TRUE(pixmorph::kernels::ForceLevel(static_cast<Level>(level)));
    // Of those that 32-bit code has: a 64-bit C library uses the upper sixteen registers, too.
    std::uint32_t states = pixmorph::kernels::Kernels().wideStates & ~(1u << 7);
    test::UseWideRegisters();
    ASSERT_NE(0u, test::StatesInUse(states));
    {
      const pixmorph::WideRegisters wideRegisters(states);
      EXPECT_EQ(0u, test::StatesInUse(states)) << "at the start";
    }
    for (int number = 0; number < 100; ++number) {
      test::Random random(static_cast<std::uint64_t>(number));
      const Case call(random);
      call.Run();
      ASSERT_EQ(0u, test::StatesInUse(states)) << call.Told();
    }
    test::Random random(1);
    const PicturePtr picture = Made(random, 600, 600, pixmorph::kPixelHostRGB32);
    rehearsal::gOnYieldContext = &states;
    rehearsal::gOnYield = [](void* context) {
      EXPECT_EQ(0u, test::StatesInUse(*static_cast<std::uint32_t*>(context)));
    };
    Own(pixmorph::PictureScalingKTZ(picture.get(), 4, 1201, 1203, -1));
    rehearsal::gOnYield = nullptr;
  }
  pixmorph::kernels::ForceLevel(best);
}

}  // namespace
