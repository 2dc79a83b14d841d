#include "tools/commands/showcase.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "standin/methods.h"
#include "tools/failure.h"
#include "tools/images/regions.h"
#include "tools/parsing/kernel_names.h"

namespace tool {
namespace {

// Sizes in pixels that make a page readable on a phone.
constexpr std::int32_t kBaseSide = 400;
constexpr std::int32_t kCropSide = 48;
constexpr std::int32_t kEnlargeFactor = 4;
constexpr std::int32_t kReduceDivisor = 3;
constexpr int kLanczos3 = 3;

// The side of the squares that the page shows with large pixels.
constexpr std::int32_t kFocusSide = 20;

Size Divided(const Size& size, double divisor) {
  const auto side = [divisor](std::int32_t pixels) {
    return std::max(kSmallestSide, static_cast<std::int32_t>(std::lround(pixels / divisor)));
  };
  return {side(size.width), side(size.height)};
}

// One picture through all methods.
class Showcase {
 public:
  Showcase(const Options& options, const Session& session, const std::string& name, const std::string& folder)
      : options_(options), session_(session), name_(name), folder_(folder + "/") {}

  void Run(const Image& original, const Image& badge, bool brief) {
    // Later steps start from this one, so that a huge picture costs its size once.
    const double divisor =
        std::max(original.size.width, original.size.height) / static_cast<double>(kBaseSide);
    const Size baseSize = Divided(original.size, std::max(divisor, 4 / 3.0));
    const Image base =
        Produce("scale", "ScaleKTZ", "scaled", {{"of", ToText(original.size)}}, original,
                Session::Alpha::kDropped, [&](const standin::Ref& picture, int interval) {
                  return standin::Scale(picture, baseSize.width, baseSize.height, false, interval);
                });
    Kernels(base, brief);
    for (const int radius : {2, 8, 24}) {
      if (!brief || radius == 8) Blur(radius, base);
    }
    ScaleMask(base);
    Draw(base, badge, 1);
    if (!brief) Draw(base, badge, 0.5);
  }

 private:
  using Method = std::function<standin::Ref(const standin::Ref&, int)>;

  Job NewJob(const char* command, const char* method, const std::string& name, Fields parameters) {
    return Job(options_, session_, {command, method, name_, folder_ + name + ".png", std::move(parameters)});
  }

  Image Produce(const char* command, const char* method, const std::string& name, Fields parameters,
                const Image& source, Session::Alpha alpha, const Method& run) {
    Job job = NewJob(command, method, name, std::move(parameters));
    const standin::Ref picture = session_.MakePicture(source, alpha);
    const standin::Ref result =
        job.Call(source.size, 0, [&](int interval) { return run(picture, interval); });
    const Image image = TakeImage(result, true);
    job.Finish(image);
    return image;
  }

  void Kernels(const Image& base, bool brief) {
    const std::int32_t cropSide = FittingSide(base, kCropSide);
    const Image crop = Cropped(base, BusiestSquare(base, cropSide), cropSide);
    const Corner wide = BusiestSquare(base, FittingSide(base, kFocusSide * kReduceDivisor));
    const Corner narrow = BusiestSquare(crop, FittingSide(crop, kFocusSide / kEnlargeFactor));
    const Size smaller = Divided(base.size, kReduceDivisor);
    const Size larger{cropSide * kEnlargeFactor, cropSide * kEnlargeFactor};
    for (const KernelRow& kernel : KernelRows()) {
      if (brief && kernel.mode != kLanczos3) continue;
      Resample("reduced", kernel, base, smaller, {wide.x / kReduceDivisor, wide.y / kReduceDivisor});
      Resample("enlarged", kernel, crop, larger, {narrow.x * kEnlargeFactor, narrow.y * kEnlargeFactor});
    }
  }

  void Resample(const std::string& direction, const KernelRow& kernel, const Image& source,
                const Size& wanted, const Corner& focus) {
    Produce("resample", "ScalingKTZ", direction + "-" + kernel.name,
            {{"kernel", kernel.name},
             {"mode", kernel.mode},
             {"direction", direction},
             {"focusX", focus.x},
             {"focusY", focus.y}},
            source, Session::Alpha::kDropped, [&](const standin::Ref& picture, int interval) {
              return standin::Scaling(picture, kernel.mode, wanted.width, wanted.height, interval);
            });
  }

  void Blur(int radius, const Image& base) {
    Produce("blur", "BlurKTZ", "blurred-" + std::to_string(radius), {{"radius", radius}}, base,
            Session::Alpha::kDropped, [radius](const standin::Ref& picture, int interval) {
              return standin::Blur(picture, radius, interval);
            });
  }

  void ScaleMask(const Image& base) {
    const Size half = Divided(base.size, 2);
    Produce("scale-mask", "ScaleImageAndMaskKTZ", "faded", {{"size", ToText(half)}}, Faded(base),
            Session::Alpha::kMask, [&half](const standin::Ref& picture, int interval) {
              return standin::ScaleImageAndMask(picture, half.width, half.height, false, interval);
            });
  }

  void Draw(const Image& base, const Image& badge, double opacity) {
    const double x = base.size.width - badge.size.width * 0.8 + 0.35;
    const double y = base.size.height - badge.size.height * 0.8 + 0.6;
    Job job = NewJob("draw", "DrawPictureFKTZ", opacity < 1 ? "drawn-half" : "drawn",
                     {{"x", x}, {"y", y}, {"opacity", opacity}});
    const standin::Ref target = session_.MakePicture(base, Session::Alpha::kDropped);
    const standin::Ref picture = session_.MakePicture(badge, Session::Alpha::kMask);
    try {
      job.CallInPlace(badge.size, 0, "in this mode pixels can't be written back", [&](int interval) {
        return standin::DrawPictureF(target, picture, x, y, opacity, interval);
      });
    } catch (const Failure& refused) {
      // Pictures on a display can only be copied out: there the refusal is the right answer.
      if (options_.mode != standin::Mode::kGdk || refused.Code() != Exit::kMethod) throw;
      ReportRow(options_, {{"input", name_}, {"method", "DrawPictureFKTZ"}}, "refused", refused.what());
      return;
    }
    job.Finish(TakeImage(target, false));
  }

  const Options& options_;
  const Session& session_;
  std::string name_;
  std::string folder_;
};

}  // namespace

void Show(const Exhibit& exhibit, const std::string& folder, Extent extent, const Options& options,
          const Session& session) {
  Showcase(options, session, exhibit.name, folder)
      .Run(exhibit.original, exhibit.badge, extent == Extent::kBrief);
}

Image SmallBadge(const std::string& name, const Image& badge, const Session& session) {
  const double divisor = std::max(1.0, std::max(badge.size.width, badge.size.height) / 120.0);
  const Size size = Divided(badge.size, divisor);
  const standin::Ref picture = session.MakePicture(badge, Session::Alpha::kMask);
  const standin::Ref small = standin::ScaleImageAndMask(picture, size.width, size.height);
  if (!small) throw Failure(Exit::kMethod, "can't reduce " + name + ": try another --badge");
  return TakeImage(small, true);
}

void MakeFolder(const std::string& path) {
  if (mkdir(path.c_str(), 0777) != 0 && errno != EEXIST)
    throw Failure(Exit::kOutput, "can't make the folder \"" + path + "\" (" + std::strerror(errno) +
                                     "): name one that can be made");
}

void ReportRow(const Options& options, Fields row, const char* key, const char* sentence) {
  if (!options.json) return;
  row.emplace_back("mode", NameOf(options.mode));
  row.emplace_back(key, sentence);
  std::printf("%s\n", JsonText(row).c_str());
}

}  // namespace tool
