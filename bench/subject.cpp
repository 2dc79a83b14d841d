#include "bench/subject.h"

#include <stdexcept>

#include "bench/measure.h"
#include "kernels/levels.h"
#include "standin/display.h"
#include "standin/ledger.h"
#include "standin/methods.h"
#include "standin/runtime.h"

extern "C" void REALPluginMain(void* (*resolver)(const char*));

namespace bench {
namespace {

namespace kernels = pixmorph::kernels;

standin::Ref Filled(int width, int height, bool alpha, std::uint32_t seed,
                    Content content = Content::kPhotograph) {
  const standin::Ref picture =
      alpha ? standin::NewAlphaPicture(width, height) : standin::NewPicture(width, height);
  const Bitmap bitmap(width, height, seed, content);
  standin::SetPixels(picture, bitmap.pixels);
  return picture;
}

standin::Ref Call(const Workload& w, const standin::Ref& source, int interval) {
  switch (w.method) {
    case Method::kScale:
      return standin::Scale(source, w.width, w.height, w.antiAlias, interval);
    case Method::kScaling:
      return standin::Scaling(source, w.mode, w.width, w.height, interval);
    default:
      return standin::Blur(source, w.radius, interval);
  }
}

}  // namespace

namespace {

// A runtime that has done nothing yet, with the plugin in it.
void StartRuntime(const std::string& store, bool watchMemory) {
  standin::Config config;
  config.recyclePixels = true;
  config.watchMemory = watchMemory;
  config.mode = store == "console" ? standin::Mode::kConsole
                : store == "gdk"   ? standin::Mode::kGdk
                                   : standin::Mode::kCairo;
  standin::Start(config);
  standin::AttachPluginEntry(&REALPluginMain);
}

}  // namespace

Subject::Subject(const std::string& isa, const std::string& store)
    : store_(store), alpha_(store == "cairo-alpha") {
  StartRuntime(store_, false);
  if (!isa.empty()) ForceLevelNamed(isa);
  level_ = kernels::Kernels().name;
}

bool Subject::MixesStores() { return false; }

TimedRun Subject::Prepare(const Workload& workload, int interval) {
  const Workload w = workload;
  const standin::Ref source = Filled(w.sourceWidth, w.sourceHeight, alpha_, 1, w.content);
  if (w.method != Method::kDraw && w.method != Method::kDrawMasked)
    return [w, source, interval] {
      return TimeOf([&] {
        if (!Call(w, source, interval)) throw std::runtime_error("the method returned nil for " + w.name);
      });
    };
  if (w.method == Method::kDrawMasked)
    standin::SetMask(source, Filled(w.sourceWidth, w.sourceHeight, false, 3));
  const standin::Ref destination = Filled(w.width, w.height, alpha_, 2);
  return [w, source, destination, interval] {
    return TimeOf([&] {
      if (!standin::DrawPictureF(destination, source, kDrawX, kDrawY, kDrawOpacity, interval))
        throw std::runtime_error("the method returned false for " + w.name);
    });
  };
}

std::uint32_t Subject::Checksum(const Workload& w) {
  const standin::Ref source = Filled(w.sourceWidth, w.sourceHeight, alpha_, 1, w.content);
  standin::Ref result;
  if (w.method == Method::kDraw || w.method == Method::kDrawMasked) {
    if (w.method == Method::kDrawMasked)
      standin::SetMask(source, Filled(w.sourceWidth, w.sourceHeight, false, 3));
    result = Filled(w.width, w.height, alpha_, 2);
    standin::DrawPictureF(result, source, kDrawX, kDrawY, kDrawOpacity);
  } else {
    result = Call(w, source, 0);
  }
  const std::vector<std::uint32_t> pixels = standin::GetPixels(result);
  return ColourChecksum(pixels.data(), pixels.size());
}

double Subject::LongestGap(const Workload& workload) {
  GapWatch watch;
  standin::CurrentConfig().onYield = [&watch] { watch.Mark(); };
  const TimedRun run = Prepare(workload, kGapInterval);
  watch.Start();
  run();
  watch.Mark();
  standin::CurrentConfig().onYield = nullptr;
  return watch.Longest();
}

long long Subject::PeakBytes(const Workload& workload) {
  StartRuntime(store_, true);
  Prepare(workload)();
  return static_cast<long long>(standin::PeakPluginBytes());
}

}  // namespace bench
