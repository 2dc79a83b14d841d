#include <dlfcn.h>

#include "bench/peer.h"

// gdk-pixbuf through its published C interface, opened at run time.
namespace bench {
namespace {

using Pixbuf = void;

struct Api {
  Pixbuf* (*fromData)(const std::uint8_t*, int, int, int, int, int, int, void*, void*);
  void (*scale)(const Pixbuf*, Pixbuf*, int, int, int, int, double, double, double, double, int);
};

class GdkPixbuf : public Peer {
 public:
  explicit GdkPixbuf(const Api& api) : api_(api) {}
  std::string Name() const override { return "gdk-pixbuf"; }

  TimedRun Prepare(const Workload& w, std::string* what) override {
    const bool shrinks = w.width < w.sourceWidth;
    constexpr int kNearest = 0, kBilinear = 2;
    if (w.method == Method::kScale && !shrinks && !w.antiAlias) return Resize(w, kNearest, what, "nearest");
    if (w.method == Method::kScale) return Resize(w, kBilinear, what, "bilinear");
    if (w.method == Method::kScaling && w.mode == 1) return Resize(w, kBilinear, what, "bilinear");
    if (w.method == Method::kScaling && w.mode == 2 && !shrinks) return Resize(w, kNearest, what, "nearest");
    return {};
  }

 private:
  Pixbuf* Wrap(Bitmap& bitmap) {
    return api_.fromData(reinterpret_cast<std::uint8_t*>(bitmap.pixels.data()), 0, 1, 8, bitmap.width,
                         bitmap.height, bitmap.StrideBytes(), nullptr, nullptr);
  }

  TimedRun Resize(const Workload& w, int filter, std::string* what, const char* label) {
    *what = label;
    auto from = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto to = std::make_shared<Bitmap>(w.width, w.height, 2);
    Pixbuf* source = Wrap(*from);
    Pixbuf* result = Wrap(*to);
    const double sx = double(w.width) / w.sourceWidth, sy = double(w.height) / w.sourceHeight;
    return [this, from, to, source, result, filter, sx, sy] {
      return TimeOf([&] { api_.scale(source, result, 0, 0, to->width, to->height, 0, 0, sx, sy, filter); });
    };
  }

  Api api_;
};

}  // namespace

std::unique_ptr<Peer> MakeGdkPixbuf() {
  void* library = dlopen("libgdk_pixbuf-2.0.so.0", RTLD_NOW);
  if (!library) return nullptr;
  Api api{reinterpret_cast<decltype(Api::fromData)>(dlsym(library, "gdk_pixbuf_new_from_data")),
          reinterpret_cast<decltype(Api::scale)>(dlsym(library, "gdk_pixbuf_scale"))};
  if (!api.fromData || !api.scale) return nullptr;
  return std::make_unique<GdkPixbuf>(api);
}

}  // namespace bench
