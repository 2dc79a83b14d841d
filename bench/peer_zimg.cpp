#include "bench/peer.h"

#ifdef PIXMORPH_HAVE_ZIMG
#include <dlfcn.h>
#include <zimg.h>

// zimg through its published C interface. It works on planes, so splitting the pixels and joining them again
// is part of the timed work, as it would be for anyone who has packed pixels.
namespace bench {
namespace {

struct Api {
  decltype(&zimg_image_format_default) imageDefaults;
  decltype(&zimg_graph_builder_params_default) builderDefaults;
  decltype(&zimg_filter_graph_build) build;
  decltype(&zimg_filter_graph_get_tmp_size) tmpSize;
  decltype(&zimg_filter_graph_process) process;
};

struct Planes {
  int width, height, stride;
  std::vector<std::uint8_t> bytes;
  Planes(int w, int h)
      : width(w),
        height(h),
        stride((w + 63) / 64 * 64),
        bytes(std::size_t(stride) * std::size_t(h) * 3 + 64) {}
  std::uint8_t* Plane(int index) {
    const auto start = (reinterpret_cast<std::uintptr_t>(bytes.data()) + 63) / 64 * 64;
    return reinterpret_cast<std::uint8_t*>(start) +
           std::size_t(index) * std::size_t(stride) * std::size_t(height);
  }
};

void Split(const Bitmap& from, Planes& to) {
  for (int y = 0; y < from.height; ++y) {
    const std::uint32_t* row = from.pixels.data() + std::size_t(y) * std::size_t(from.width);
    std::uint8_t* p[3];
    for (int c = 0; c < 3; ++c) p[c] = to.Plane(c) + std::size_t(y) * std::size_t(to.stride);
    for (int x = 0; x < from.width; ++x) {
      p[0][x] = static_cast<std::uint8_t>(row[x] >> 16);
      p[1][x] = static_cast<std::uint8_t>(row[x] >> 8);
      p[2][x] = static_cast<std::uint8_t>(row[x]);
    }
  }
}

void Join(Planes& from, Bitmap& to) {
  for (int y = 0; y < to.height; ++y) {
    std::uint32_t* row = to.pixels.data() + std::size_t(y) * std::size_t(to.width);
    const std::uint8_t* p[3];
    for (int c = 0; c < 3; ++c) p[c] = from.Plane(c) + std::size_t(y) * std::size_t(from.stride);
    for (int x = 0; x < to.width; ++x)
      row[x] = (std::uint32_t(p[0][x]) << 16) | (std::uint32_t(p[1][x]) << 8) | p[2][x];
  }
}

class Zimg : public Peer {
 public:
  Zimg(const Api& api, PeerLevel level) : api_(api), level_(level) {}
  std::string Name() const override { return "zimg"; }

  TimedRun Prepare(const Workload& w, std::string* what) override {
    const bool smooth = w.method == Method::kScale && w.antiAlias;
    if (smooth || (w.method == Method::kScaling && w.mode == 1))
      return Resize(w, ZIMG_RESIZE_BILINEAR, 0, 0, what, "bilinear");
    if (w.method != Method::kScaling) return {};
    switch (w.mode) {
      case 3:
        return Resize(w, ZIMG_RESIZE_LANCZOS, 3, 0, what, "lanczos 3");
      case 4:
        return Resize(w, ZIMG_RESIZE_LANCZOS, 8, 0, what, "lanczos 8");
      case 5:
        return Resize(w, ZIMG_RESIZE_BICUBIC, 1 / 3.0, 1 / 3.0, what, "bicubic 1/3 1/3");
      case 6:
        return Resize(w, ZIMG_RESIZE_BICUBIC, 0, 0.75, what, "bicubic 0 3/4");
      case 7:
        return Resize(w, ZIMG_RESIZE_SPLINE36, 0, 0, what, "spline36");
      default:
        return {};
    }
  }

 private:
  zimg_image_format Format(int width, int height) {
    zimg_image_format format;
    api_.imageDefaults(&format, ZIMG_API_VERSION);
    format.width = static_cast<unsigned>(width);
    format.height = static_cast<unsigned>(height);
    format.pixel_type = ZIMG_PIXEL_BYTE;
    format.color_family = ZIMG_COLOR_RGB;
    format.matrix_coefficients = ZIMG_MATRIX_RGB;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
  }

  TimedRun Resize(const Workload& w, zimg_resample_filter_e filter, double a, double b, std::string* what,
                  const char* label) {
    *what = label;
    zimg_graph_builder_params parameters;
    api_.builderDefaults(&parameters, ZIMG_API_VERSION);
    parameters.resample_filter = filter;
    if (level_ == PeerLevel::kAvx2) parameters.cpu_type = ZIMG_CPU_X86_AVX2;
    if (level_ == PeerLevel::kSse2) parameters.cpu_type = ZIMG_CPU_X86_SSE2;
    if (a != 0 || b != 0) parameters.filter_param_a = a;
    if (b != 0) parameters.filter_param_b = b;
    const zimg_image_format in = Format(w.sourceWidth, w.sourceHeight), out = Format(w.width, w.height);
    zimg_filter_graph* graph = api_.build(&in, &out, &parameters);
    std::size_t size = 0;
    if (!graph || api_.tmpSize(graph, &size)) return {};
    auto from = std::make_shared<Bitmap>(w.sourceWidth, w.sourceHeight, 1);
    auto to = std::make_shared<Bitmap>(w.width, w.height, 2);
    auto planesIn = std::make_shared<Planes>(w.sourceWidth, w.sourceHeight);
    auto planesOut = std::make_shared<Planes>(w.width, w.height);
    auto tmp = std::make_shared<std::vector<std::uint8_t>>(size + 64);
    return [=] {
      return TimeOf([&] {
        Split(*from, *planesIn);
        Process(graph, *planesIn, *planesOut, *tmp);
        Join(*planesOut, *to);
      });
    };
  }

  void Process(zimg_filter_graph* graph, Planes& in, Planes& out, std::vector<std::uint8_t>& tmp) {
    zimg_image_buffer_const source{};
    zimg_image_buffer result{};
    source.version = result.version = ZIMG_API_VERSION;
    for (int c = 0; c < 3; ++c) {
      source.plane[c] = {in.Plane(c), in.stride, ZIMG_BUFFER_MAX};
      result.plane[c] = {out.Plane(c), out.stride, ZIMG_BUFFER_MAX};
    }
    const auto aligned = (reinterpret_cast<std::uintptr_t>(tmp.data()) + 63) / 64 * 64;
    api_.process(graph, &source, &result, reinterpret_cast<void*>(aligned), nullptr, nullptr, nullptr,
                 nullptr);
  }

  Api api_;
  PeerLevel level_;
};

template <class F>
bool Find(void* library, const char* name, F* function) {
  *function = reinterpret_cast<F>(dlsym(library, name));
  return *function != nullptr;
}

}  // namespace

std::unique_ptr<Peer> MakeZimg(PeerLevel level) {
  void* library = dlopen("libzimg.so.2", RTLD_NOW);
  Api api{};
  if (!library || !Find(library, "zimg_image_format_default", &api.imageDefaults) ||
      !Find(library, "zimg_graph_builder_params_default", &api.builderDefaults) ||
      !Find(library, "zimg_filter_graph_build", &api.build) ||
      !Find(library, "zimg_filter_graph_get_tmp_size", &api.tmpSize) ||
      !Find(library, "zimg_filter_graph_process", &api.process))
    return nullptr;
  return std::make_unique<Zimg>(api, level);
}

}  // namespace bench

#else

namespace bench {
std::unique_ptr<Peer> MakeZimg(PeerLevel) { return nullptr; }
}  // namespace bench

#endif
