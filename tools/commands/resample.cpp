#include <memory>

#include "standin/methods.h"
#include "tools/commands/commands.h"
#include "tools/parsing/geometry.h"
#include "tools/parsing/kernel_names.h"
#include "tools/run/job.h"

namespace tool {
namespace {

struct ResampleArguments {
  std::string input, output, size, kernel;
};

// Both pictures in the file's and the runtime's form, and the half-way picture between the passes.
std::uint64_t BytesNeeded(const Size& source, const Size& wanted) {
  const Size halfWay{wanted.width, source.height};
  return 8 * (std::uint64_t{PixelCountOf(source)} + PixelCountOf(wanted)) +
         4 * std::uint64_t{PixelCountOf(halfWay)};
}

void RunResample(const ResampleArguments& arguments, const Options& options) {
  const Geometry geometry = Geometry::Parse(arguments.size);
  const KernelRow& kernel = ParseKernel(arguments.kernel);
  const Session session(options);
  Job job(options, session,
          {"resample",
           "ScalingKTZ",
           arguments.input,
           arguments.output,
           {{"size", arguments.size}, {"kernel", kernel.name}, {"mode", kernel.mode}}});
  const Image source = job.Read(arguments.input);
  const Size wanted = geometry.For(source.size);
  CheckMemory("resampling to " + ToText(wanted), BytesNeeded(source.size, wanted));
  if (source.hasAlpha) job.Note("the transparency is dropped: scale --mask keeps it");
  const standin::Ref picture = session.MakePicture(source, Session::Alpha::kDropped);
  const standin::Ref result = job.Call(source.size, wanted.height, [&](int interval) {
    return standin::Scaling(picture, kernel.mode, wanted.width, wanted.height, interval);
  });
  job.Finish(TakeImage(result, false));
}

}  // namespace

std::function<void()> DefineResample(Arguments& list, Options& options) {
  auto arguments = std::make_shared<ResampleArguments>();
  list.Positional("IN", &arguments->input, "a PNG or JPEG file, - for stdin");
  list.Positional("OUT", &arguments->output, "where to write, - for stdout");
  list.Text("--size", "GEOM", &arguments->size, Arguments::Need::kRequired,
            "800x600, 800x, x600 or 50%; a final > only shrinks, a final < only enlarges");
  list.Text("--kernel", "NAME", &arguments->kernel, Arguments::Need::kRequired,
            "a name or number from \"pixmorph kernels\"");
  return [arguments, &options] { RunResample(*arguments, options); };
}

}  // namespace tool
