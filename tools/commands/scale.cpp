#include <memory>

#include "standin/methods.h"
#include "tools/commands/commands.h"
#include "tools/commands/method.h"
#include "tools/parsing/geometry.h"

namespace tool {
namespace {

struct ScaleArguments {
  std::string size;
  bool antiAlias = false;
  bool mask = false;
  bool alphaChannel = false;
};

// Pixels held at once: the source in the file's and the runtime's form, the result in both, masks likewise.
std::uint64_t BytesNeeded(const Image& source, const Size& wanted, bool withMask) {
  const std::uint64_t copies = withMask && source.hasAlpha ? 5 : 2;
  return 4 * copies * (std::uint64_t{source.PixelCount()} + PixelCountOf(wanted));
}

// The smooth enlargement works its rows once per byte of a pixel; masks double the work.
std::int64_t YieldPoints(const ScaleArguments& arguments, const Size& source, const Size& wanted) {
  const bool smooth = arguments.antiAlias && wanted.width > source.width && wanted.height > source.height;
  return std::int64_t{wanted.height} * (smooth ? 4 : 1) * (arguments.mask ? 2 : 1);
}

Image RunScale(const ScaleArguments& arguments, const Size& wanted, Job& job, const Session& session,
               const Image& source) {
  CheckMemory("scaling to " + ToText(wanted), BytesNeeded(source, wanted, arguments.mask));
  if (source.hasAlpha && !arguments.mask) job.Note("the transparency is dropped: keep it with --mask");
  const Session::Alpha alpha = !arguments.mask          ? Session::Alpha::kDropped
                               : arguments.alphaChannel ? Session::Alpha::kChannel
                                                        : Session::Alpha::kMask;
  const standin::Ref picture = session.MakePicture(source, alpha);
  const auto method = arguments.mask ? standin::ScaleImageAndMask : standin::Scale;
  const standin::Ref result =
      job.Call(source.size, YieldPoints(arguments, source.size, wanted), [&](int interval) {
        return method(picture, wanted.width, wanted.height, arguments.antiAlias, interval);
      });
  return TakeImage(result, arguments.mask);
}

Method MakeScale(const ScaleArguments& arguments) {
  const Geometry geometry = Geometry::Parse(arguments.size);
  return {arguments.mask ? "scale-mask" : "scale",
          arguments.mask ? "ScaleImageAndMaskKTZ" : "ScaleKTZ",
          {{"size", arguments.size}, {"antiAlias", arguments.antiAlias}},
          [geometry](const Size& source) { return geometry.For(source); },
          [geometry, arguments](Job& job, const Session& session, const Image& source) {
            return RunScale(arguments, geometry.For(source.size), job, session, source);
          }};
}

MethodMaker Define(Arguments& list, bool alwaysMask) {
  auto arguments = std::make_shared<ScaleArguments>();
  arguments->mask = alwaysMask;
  list.Text("--size", "GEOM", &arguments->size, Arguments::Need::kRequired,
            "800x600, 800x, x600 or 50%; a final > only shrinks, a final < only enlarges");
  list.Flag("--antialias", &arguments->antiAlias, "enlarge smoothly where both sides grow");
  if (!alwaysMask) list.Flag("--mask", &arguments->mask, "scale the transparency too (ScaleImageAndMaskKTZ)");
  list.Flag("--alpha-channel", &arguments->alphaChannel,
            "with a mask: hand the transparency over as the picture's alpha channel, not as its mask");
  return [arguments](const Options&) { return MakeScale(*arguments); };
}

}  // namespace

MethodMaker DefineScaleMethod(Arguments& list) { return Define(list, false); }
MethodMaker DefineScaleMaskMethod(Arguments& list) { return Define(list, true); }

std::function<void()> DefineScale(Arguments& list, Options& options) {
  return DefineSingle(list, options, DefineScaleMethod);
}
std::function<void()> DefineScaleMask(Arguments& list, Options& options) {
  return DefineSingle(list, options, DefineScaleMaskMethod);
}

}  // namespace tool
