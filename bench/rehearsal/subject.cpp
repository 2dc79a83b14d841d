#include "bench/subject.h"

#include <malloc.h>

#include <stdexcept>

#include "bench/measure.h"
#include "bench/rehearsal/picture.h"
#include "effects/blur.h"
#include "effects/draw.h"
#include "kernels/levels.h"
#include "picture/pixel_format.h"
#include "scaling/resample.h"
#include "scaling/scale.h"

namespace bench {
namespace {

namespace kernels = pixmorph::kernels;
using PicturePtr = std::shared_ptr<rehearsal::Picture>;

PicturePtr Own(rehearsal::Picture* picture) {
  return {picture, [](rehearsal::Picture* p) {
            if (p) rehearsal::Release(p);
          }};
}

std::int32_t SourceType(bool alpha) {
  return alpha ? pixmorph::kPixelCairoAlpha32 : rehearsal::gNewPictureType;
}

PicturePtr Filled(int width, int height, std::int32_t type, std::uint32_t seed,
                  Content content = Content::kPhotograph) {
  PicturePtr picture = Own(rehearsal::NewPicture(width, height, type));
  const Bitmap bitmap(width, height, seed, content);
  const int bytes = pixmorph::PixelTypeInfo(type).bytesPerPixel;
  std::uint8_t* p = picture->pixels;
  for (std::uint32_t pixel : bitmap.pixels) {
    kernels::StorePixel(
        pixmorph::LayoutOf(type), p,
        {std::uint8_t(pixel >> 16 & 255), std::uint8_t(pixel >> 8 & 255), std::uint8_t(pixel & 255)});
    p += bytes;
  }
  return picture;
}

rehearsal::Picture* Call(const Workload& w, rehearsal::Picture* source, int interval) {
  switch (w.method) {
    case Method::kScale:
      return pixmorph::PictureResizeKTZ(source, w.width, w.height, w.antiAlias, interval);
    case Method::kScaling:
      return pixmorph::PictureScalingKTZ(source, w.mode, w.width, w.height, interval);
    default:
      return pixmorph::BlurKTZ(source, w.radius, interval);
  }
}

void GiveMask(const Workload& w, const PicturePtr& source, std::int32_t type) {
  const PicturePtr mask = Filled(w.sourceWidth, w.sourceHeight, type, 3);
  rehearsal::Retain(mask.get());
  source->mask = mask.get();
}

}  // namespace

Subject::Subject(const std::string& isa, const std::string& store) : alpha_(store == "cairo-alpha") {
  // As in a 32-bit process: larger blocks always come from the system as they are, clear. Left alone, the
  // 64-bit library would keep blocks of up to 32 MiB and clear them for every call. What is free at the end
  // of the heap stays mapped, as it does in an application that has blocks of its own behind it.
  mallopt(M_MMAP_THRESHOLD, 512 * 1024);
  mallopt(M_TRIM_THRESHOLD, 64 * 1024 * 1024);
  rehearsal::gNewPictureType = store == "console" ? pixmorph::kPixelHostRGB32
                               : store == "gdk"   ? pixmorph::kPixelRGB24
                                                  : pixmorph::kPixelCairoRGB32;
  if (!isa.empty()) ForceLevelNamed(isa);
  level_ = kernels::Kernels().name;
  level_ += sizeof(void*) == 4 ? ", plain memory" : ", 64-bit rehearsal";
}

bool Subject::MixesStores() { return true; }

TimedRun Subject::Prepare(const Workload& workload, int interval) {
  const Workload w = workload;
  const PicturePtr source = Filled(w.sourceWidth, w.sourceHeight, SourceType(alpha_), 1, w.content);
  if (w.method != Method::kDraw && w.method != Method::kDrawMasked)
    return [w, source, interval, made = rehearsal::gNewPictureType] {
      rehearsal::gNewPictureType = made;
      return TimeOf([&] {
        if (!Own(Call(w, source.get(), interval)))
          throw std::runtime_error("the method returned nil for " + w.name);
      });
    };
  // Pixel memory of 3 bytes can't be drawn into.
  const std::int32_t type =
      rehearsal::gNewPictureType == pixmorph::kPixelRGB24 ? pixmorph::kPixelCairoRGB32 : SourceType(alpha_);
  if (w.method == Method::kDrawMasked) GiveMask(w, source, type);
  const PicturePtr destination = Filled(w.width, w.height, type, 2);
  return [w, source, destination, interval] {
    return TimeOf([&] {
      if (!pixmorph::DrawPictureF(destination.get(), source.get(), kDrawX, kDrawY, kDrawOpacity, interval))
        throw std::runtime_error("the method returned false for " + w.name);
    });
  };
}

std::uint32_t Subject::Checksum(const Workload& w) {
  const PicturePtr source = Filled(w.sourceWidth, w.sourceHeight, SourceType(alpha_), 1, w.content);
  PicturePtr result;
  if (w.method == Method::kDraw || w.method == Method::kDrawMasked) {
    if (w.method == Method::kDrawMasked) GiveMask(w, source, SourceType(alpha_));
    result = Filled(w.width, w.height, SourceType(alpha_), 2);
    pixmorph::DrawPictureF(result.get(), source.get(), kDrawX, kDrawY, kDrawOpacity, 0);
  } else {
    result = Own(Call(w, source.get(), 0));
  }
  const auto* pixels = reinterpret_cast<const std::uint32_t*>(result->pixels);
  return ColourChecksum(pixels,
                        static_cast<std::size_t>(result->width) * static_cast<std::size_t>(result->height));
}

double Subject::LongestGap(const Workload& workload) {
  GapWatch watch;
  const TimedRun run = Prepare(workload, kGapInterval);
  rehearsal::gOnYield = [](void* context) { static_cast<GapWatch*>(context)->Mark(); };
  rehearsal::gOnYieldContext = &watch;
  watch.Start();
  run();
  watch.Mark();
  rehearsal::gOnYield = nullptr;
  return watch.Longest();
}

long long Subject::PeakBytes(const Workload&) { return -1; }

}  // namespace bench
