#include <dlfcn.h>

#include <algorithm>
#include <vector>

#include "bench/peer.h"

// pixman through its published C interface, opened at run time.
namespace bench {
namespace {

using Image = void;
using Fixed = std::int32_t;
constexpr std::uint32_t kX8R8G8B8 = 0x20020888, kA8R8G8B8 = 0x20028888, kA8 = 0x08018000;
constexpr int kOpSrc = 1, kOpOver = 3, kNearest = 3, kBilinear = 4, kSeparable = 6;
constexpr int kImpulse = 0, kBox = 1, kLinear = 2, kCubic = 3, kLanczos3 = 6;

struct Transform {
  Fixed m[3][3];
};

struct Api {
  Image* (*createBits)(std::uint32_t, int, int, std::uint32_t*, int);
  Image* (*createSolid)(const std::uint16_t*);
  int (*setTransform)(Image*, const Transform*);
  int (*setFilter)(Image*, int, const Fixed*, int);
  Fixed* (*createSeparable)(int*, Fixed, Fixed, int, int, int, int, int, int);
  void (*composite)(int, Image*, Image*, Image*, int, int, int, int, int, int, int, int);
};

Fixed ToFixed(double value) { return static_cast<Fixed>(value * 65536.0); }

class Pixman : public Peer {
 public:
  explicit Pixman(const Api& api) : api_(api) {}
  std::string Name() const override { return "pixman"; }

  TimedRun Prepare(const Workload& w, std::string* what) override {
    switch (w.method) {
      case Method::kScale:
        if (w.width > w.sourceWidth && !w.antiAlias) return Resize(w, -1, -1, what, "nearest");
        if (w.antiAlias) return Resize(w, -2, -2, what, "bilinear");
        return Resize(w, kImpulse, kBox, what, "separable box");
      case Method::kScaling:
        return PrepareKernel(w, what);
      case Method::kBlur:
        return {};
      case Method::kDrawMasked:
        return DrawMasked(w, what);
      default:
        return Draw(w, what);
    }
  }

 private:
  TimedRun PrepareKernel(const Workload& w, std::string* what) {
    const bool shrinks = w.width < w.sourceWidth;
    switch (w.mode) {
      case 1:
        return shrinks ? Resize(w, kImpulse, kLinear, what, "separable linear")
                       : Resize(w, -2, -2, what, "bilinear");
      case 2:
        return shrinks ? Resize(w, kImpulse, kBox, what, "separable box")
                       : Resize(w, -1, -1, what, "nearest");
      case 3:
        return Resize(w, kLanczos3, shrinks ? kLanczos3 : kImpulse, what, "separable lanczos3");
      case 5:
        return Resize(w, kCubic, shrinks ? kCubic : kImpulse, what, "separable cubic");
      default:
        return {};
    }
  }

  void SetFilter(Image* image, const Workload& w, int reconstruct, int sample) {
    if (reconstruct < 0) {
      api_.setFilter(image, reconstruct == -1 ? kNearest : kBilinear, nullptr, 0);
      return;
    }
    int count = 0;
    Fixed* parameters = api_.createSeparable(&count, ToFixed(double(w.sourceWidth) / w.width),
                                             ToFixed(double(w.sourceHeight) / w.height), reconstruct,
                                             reconstruct, sample, sample, 4, 4);
    api_.setFilter(image, kSeparable, parameters, count);
    std::free(parameters);
  }

  TimedRun Resize(const Workload& w, int reconstruct, int sample, std::string* what, const char* label) {
    *what = label;
    auto from = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto to = std::make_shared<Bitmap>(w.width, w.height, 2);
    Image* source =
        api_.createBits(kX8R8G8B8, from->width, from->height, from->pixels.data(), from->StrideBytes());
    Image* result = api_.createBits(kX8R8G8B8, to->width, to->height, to->pixels.data(), to->StrideBytes());
    const Transform scale{{{ToFixed(double(w.sourceWidth) / w.width), 0, 0},
                           {0, ToFixed(double(w.sourceHeight) / w.height), 0},
                           {0, 0, 65536}}};
    api_.setTransform(source, &scale);
    SetFilter(source, w, reconstruct, sample);
    return [this, from, to, source, result] {
      return TimeOf(
          [&] { api_.composite(kOpSrc, source, nullptr, result, 0, 0, 0, 0, 0, 0, to->width, to->height); });
    };
  }

  Image* ImageOf(Bitmap& bitmap, std::uint32_t format) {
    return api_.createBits(format, bitmap.width, bitmap.height, bitmap.pixels.data(), bitmap.StrideBytes());
  }

  // By half and a quarter of a pixel, at the workload's opacity.
  std::function<void()> Over(Image* source, Image* result, const Workload& w) {
    const std::uint16_t solid[4] = {0, 0, 0, static_cast<std::uint16_t>(kDrawOpacity * 65535)};
    Image* opacity = api_.createSolid(solid);
    const Transform shift{{{65536, 0, ToFixed(-0.5)}, {0, 65536, ToFixed(-0.25)}, {0, 0, 65536}}};
    api_.setTransform(source, &shift);
    api_.setFilter(source, kBilinear, nullptr, 0);
    return [=] {
      api_.composite(kOpOver, source, opacity, result, 0, 0, 0, 0, 10, 20, w.sourceWidth + 1,
                     w.sourceHeight + 1);
    };
  }

  TimedRun Draw(const Workload& w, std::string* what) {
    *what = "over, bilinear, constant alpha";
    auto from = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto to = std::make_shared<Bitmap>(w.width, w.height, 2);
    const auto over = Over(ImageOf(*from, kX8R8G8B8), ImageOf(*to, kX8R8G8B8), w);
    return [from, to, over] { return TimeOf(over); };
  }

  // A mask given to the call that moves the source would not be moved with it: it goes into the source's
  // alpha channel first.
  TimedRun DrawMasked(const Workload& w, std::string* what) {
    *what = "over, mask to alpha; over, bilinear";
    auto from = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto to = std::make_shared<Bitmap>(w.width, w.height, 2);
    auto merged = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto shown = std::make_shared<std::vector<std::uint8_t>>(ShownBytes(w));
    Image* const mask = api_.createBits(kA8, w.sourceWidth, w.sourceHeight,
                                        reinterpret_cast<std::uint32_t*>(shown->data()), MaskStride(w));
    Image* const source = ImageOf(*from, kX8R8G8B8);
    Image* const target = ImageOf(*merged, kA8R8G8B8);
    const auto over = Over(ImageOf(*merged, kA8R8G8B8), ImageOf(*to, kX8R8G8B8), w);
    return [=, from = from, to = to, shown = shown] {
      return TimeOf([&] {
        std::fill(merged->pixels.begin(), merged->pixels.end(), 0);
        api_.composite(kOpOver, source, mask, target, 0, 0, 0, 0, 0, 0, merged->width, merged->height);
        over();
      });
    };
  }

  static int MaskStride(const Workload& w) { return (w.sourceWidth + 3) / 4 * 4; }

  // The mask as the library takes it, 255 where everything shows.
  static std::vector<std::uint8_t> ShownBytes(const Workload& w) {
    const Bitmap hidden(w.sourceWidth, w.sourceHeight, 3);
    std::vector<std::uint8_t> bytes(std::size_t(MaskStride(w)) * std::size_t(w.sourceHeight));
    const std::uint32_t* pixel = hidden.pixels.data();
    for (int y = 0; y < w.sourceHeight; ++y)
      for (int x = 0; x < w.sourceWidth; ++x)
        bytes[std::size_t(y * MaskStride(w) + x)] = static_cast<std::uint8_t>(~(*pixel++ >> 16));
    return bytes;
  }

  Api api_;
};

template <class F>
bool Find(void* library, const char* name, F* function) {
  *function = reinterpret_cast<F>(dlsym(library, name));
  return *function != nullptr;
}

}  // namespace

std::unique_ptr<Peer> MakePixman() {
  void* library = dlopen("libpixman-1.so.0", RTLD_NOW);
  Api api{};
  if (!library || !Find(library, "pixman_image_create_bits", &api.createBits) ||
      !Find(library, "pixman_image_create_solid_fill", &api.createSolid) ||
      !Find(library, "pixman_image_set_transform", &api.setTransform) ||
      !Find(library, "pixman_image_set_filter", &api.setFilter) ||
      !Find(library, "pixman_filter_create_separable_convolution", &api.createSeparable) ||
      !Find(library, "pixman_image_composite32", &api.composite))
    return nullptr;
  return std::make_unique<Pixman>(api);
}

}  // namespace bench
