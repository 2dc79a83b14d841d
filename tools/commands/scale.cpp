#include <memory>

#include "standin/methods.h"
#include "tools/commands/commands.h"
#include "tools/failure.h"
#include "tools/parsing/geometry.h"
#include "tools/run/job.h"

namespace tool {
namespace {

struct ScaleArguments {
  std::string input, output, size;
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

void RunScale(const ScaleArguments& arguments, const Options& options) {
  const Geometry geometry = Geometry::Parse(arguments.size);
  const Session session(options);
  Job job(options, session,
          {arguments.mask ? "scale-mask" : "scale",
           arguments.mask ? "ScaleImageAndMaskKTZ" : "ScaleKTZ",
           arguments.input,
           arguments.output,
           {{"size", arguments.size}, {"antiAlias", arguments.antiAlias}}});
  const Image source = job.Read(arguments.input);
  const Size wanted = geometry.For(source.size);
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
  job.Finish(TakeImage(result, arguments.mask));
}

std::function<void()> Define(Arguments& list, Options& options, bool alwaysMask) {
  auto arguments = std::make_shared<ScaleArguments>();
  arguments->mask = alwaysMask;
  list.Positional("IN", &arguments->input, "a PNG or JPEG file, - for stdin");
  list.Positional("OUT", &arguments->output, "where to write, - for stdout");
  list.Text("--size", "GEOM", &arguments->size, Arguments::Need::kRequired,
            "800x600, 800x, x600 or 50%; a final > only shrinks, a final < only enlarges");
  list.Flag("--antialias", &arguments->antiAlias, "enlarge smoothly where both sides grow");
  if (!alwaysMask) list.Flag("--mask", &arguments->mask, "scale the transparency too (ScaleImageAndMaskKTZ)");
  list.Flag("--alpha-channel", &arguments->alphaChannel,
            "with a mask: hand the transparency over as the picture's alpha channel, not as its mask");
  return [arguments, &options] { RunScale(*arguments, options); };
}

}  // namespace

std::function<void()> DefineScale(Arguments& list, Options& options) { return Define(list, options, false); }
std::function<void()> DefineScaleMask(Arguments& list, Options& options) {
  return Define(list, options, true);
}

}  // namespace tool
