#include <dlfcn.h>

#include "bench/peer.h"

// libswscale through its published C interface, opened at run time.
namespace bench {
namespace {

// From the library's stable headers: scaler flags and the number of the pixel format bgr0.
constexpr int kFlagBilinear = 2, kFlagBicubic = 4, kFlagPoint = 0x10, kFlagArea = 0x20, kFlagLanczos = 0x200;
constexpr int kAccurate = 0x40000, kFullChroma = 0x2000 | 0x4000;

struct Api {
  void* (*getContext)(int, int, int, int, int, int, int, void*, void*, const double*);
  int (*scale)(void*, const std::uint8_t* const*, const int*, int, int, std::uint8_t* const*, const int*);
  int bgr0 = -1;
};

class Swscale : public Peer {
 public:
  explicit Swscale(const Api& api) : api_(api) {}
  std::string Name() const override { return "libswscale"; }

  TimedRun Prepare(const Workload& w, std::string* what) override {
    const bool shrinks = w.width < w.sourceWidth;
    if (w.method == Method::kScale)
      return shrinks       ? Resize(w, kFlagArea, what, "area")
             : w.antiAlias ? Resize(w, kFlagBilinear, what, "bilinear")
                           : Resize(w, kFlagPoint, what, "point");
    if (w.method != Method::kScaling) return {};
    switch (w.mode) {
      case 1:
        return Resize(w, kFlagBilinear, what, "bilinear");
      case 2:
        return shrinks ? Resize(w, kFlagArea, what, "area") : Resize(w, kFlagPoint, what, "point");
      case 3:
        return Resize(w, kFlagLanczos, what, "lanczos");
      case 5:
      case 6:
        return Resize(w, kFlagBicubic, what, "bicubic");
      default:
        return {};
    }
  }

 private:
  TimedRun Resize(const Workload& w, int flag, std::string* what, const char* label) {
    *what = label;
    auto from = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto to = std::make_shared<Bitmap>(w.width, w.height, 2);
    void* context = api_.getContext(from->width, from->height, api_.bgr0, to->width, to->height, api_.bgr0,
                                    flag | kAccurate | kFullChroma, nullptr, nullptr, nullptr);
    if (!context) return {};
    return [this, from, to, context] {
      const std::uint8_t* sources[4] = {reinterpret_cast<const std::uint8_t*>(from->pixels.data())};
      std::uint8_t* results[4] = {reinterpret_cast<std::uint8_t*>(to->pixels.data())};
      const int sourceStride[4] = {from->StrideBytes()}, resultStride[4] = {to->StrideBytes()};
      return TimeOf(
          [&] { api_.scale(context, sources, sourceStride, 0, from->height, results, resultStride); });
    };
  }

  Api api_;
};

}  // namespace

std::unique_ptr<Peer> MakeSwscale(PeerLevel level) {
  void* util = dlopen("libavutil.so.57", RTLD_NOW | RTLD_GLOBAL);
  void* library = dlopen("libswscale.so.6", RTLD_NOW);
  if (!util || !library) return nullptr;
  Api api{reinterpret_cast<decltype(Api::getContext)>(dlsym(library, "sws_getContext")),
          reinterpret_cast<decltype(Api::scale)>(dlsym(library, "sws_scale"))};
  auto* formatByName = reinterpret_cast<int (*)(const char*)>(dlsym(util, "av_get_pix_fmt"));
  if (!api.getContext || !api.scale || !formatByName) return nullptr;
  api.bgr0 = formatByName("bgr0");
  constexpr int kUpToSse2 = 0x1B;  // MMX, its second set, SSE and SSE2
  auto* forceFlags = reinterpret_cast<void (*)(int)>(dlsym(util, "av_force_cpu_flags"));
  if (level == PeerLevel::kSse2 && forceFlags) forceFlags(kUpToSse2);
  return api.bgr0 < 0 ? nullptr : std::make_unique<Swscale>(api);
}

}  // namespace bench
