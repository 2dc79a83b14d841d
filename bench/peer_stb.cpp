#include "bench/peer.h"

#ifdef PIXMORPH_HAVE_STB
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wconversion"
#pragma GCC diagnostic ignored "-Wshadow"
#pragma GCC diagnostic ignored "-Wunused-function"
#pragma GCC diagnostic ignored "-Wunused-parameter"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#define STB_IMAGE_RESIZE_IMPLEMENTATION
#define STB_IMAGE_RESIZE_STATIC
#include <stb/stb_image_resize.h>
#pragma GCC diagnostic pop

// The single-header resizer that the distribution packages, compiled into the benchmark.
namespace bench {
namespace {

class Stb : public Peer {
 public:
  std::string Name() const override { return "stb_image_resize"; }

  TimedRun Prepare(const Workload& w, std::string* what) override {
    if (w.method == Method::kScale && w.width < w.sourceWidth)
      return Resize(w, STBIR_FILTER_BOX, what, "box");
    if (w.method == Method::kScale && w.antiAlias) return Resize(w, STBIR_FILTER_TRIANGLE, what, "triangle");
    if (w.method != Method::kScaling) return {};
    switch (w.mode) {
      case 1:
        return Resize(w, STBIR_FILTER_TRIANGLE, what, "triangle");
      case 2:
        return Resize(w, STBIR_FILTER_BOX, what, "box");
      case 5:
        return Resize(w, STBIR_FILTER_MITCHELL, what, "mitchell");
      case 6:
        return Resize(w, STBIR_FILTER_CATMULLROM, what, "catmull-rom");
      default:
        return {};
    }
  }

 private:
  TimedRun Resize(const Workload& w, stbir_filter filter, std::string* what, const char* label) {
    *what = label;
    auto from = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto to = std::make_shared<Bitmap>(w.width, w.height, 2);
    return [from, to, filter] {
      return TimeOf([&] {
        stbir_resize_uint8_generic(reinterpret_cast<unsigned char*>(from->pixels.data()), from->width,
                                   from->height, from->StrideBytes(),
                                   reinterpret_cast<unsigned char*>(to->pixels.data()), to->width, to->height,
                                   to->StrideBytes(), 4, STBIR_ALPHA_CHANNEL_NONE, 0, STBIR_EDGE_CLAMP,
                                   filter, STBIR_COLORSPACE_LINEAR, nullptr);
      });
    };
  }
};

}  // namespace

std::unique_ptr<Peer> MakeStb() { return std::make_unique<Stb>(); }

}  // namespace bench

#else

namespace bench {
std::unique_ptr<Peer> MakeStb() { return nullptr; }
}  // namespace bench

#endif
