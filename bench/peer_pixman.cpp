#include <dlfcn.h>

#include "bench/peer.h"

// pixman through its published C interface, opened at run time.
namespace bench {
namespace {

using Image = void;
using Fixed = std::int32_t;
constexpr std::uint32_t kX8R8G8B8 = 0x20020888, kA8R8G8B8 = 0x20028888;
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

  TimedRun Draw(const Workload& w, std::string* what) {
    *what = w.method == Method::kDraw ? "over, bilinear, constant alpha" : "over, bilinear, alpha channel";
    auto from = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto to = std::make_shared<Bitmap>(w.width, w.height, 2);
    const bool masked = w.method == Method::kDrawMasked;
    Image* source = api_.createBits(masked ? kA8R8G8B8 : kX8R8G8B8, from->width, from->height,
                                    from->pixels.data(), from->StrideBytes());
    Image* result = api_.createBits(kX8R8G8B8, to->width, to->height, to->pixels.data(), to->StrideBytes());
    const std::uint16_t solid[4] = {0, 0, 0, static_cast<std::uint16_t>(kDrawOpacity * 65535)};
    Image* mask = api_.createSolid(solid);
    const Transform shift{{{65536, 0, ToFixed(-0.5)}, {0, 65536, ToFixed(-0.25)}, {0, 0, 65536}}};
    api_.setTransform(source, &shift);
    api_.setFilter(source, kBilinear, nullptr, 0);
    return [this, from, to, source, result, mask] {
      return TimeOf([&] {
        api_.composite(kOpOver, source, mask, result, 0, 0, 0, 0, 10, 20, from->width + 1, from->height + 1);
      });
    };
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
