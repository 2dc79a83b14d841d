#include <memory>

#include "standin/methods.h"
#include "tools/commands/commands.h"
#include "tools/commands/method.h"
#include "tools/parsing/geometry.h"
#include "tools/parsing/kernel_names.h"

namespace tool {
namespace {

struct ResampleArguments {
  std::string size, kernel;
};

// Both pictures in the file's and the runtime's form, and the half-way picture between the passes.
std::uint64_t BytesNeeded(const Size& source, const Size& wanted) {
  const Size halfWay{wanted.width, source.height};
  return 8 * (std::uint64_t{PixelCountOf(source)} + PixelCountOf(wanted)) +
         4 * std::uint64_t{PixelCountOf(halfWay)};
}

Image RunResample(int mode, const Size& wanted, Job& job, const Session& session, const Image& source) {
  CheckMemory("resampling to " + ToText(wanted), BytesNeeded(source.size, wanted));
  if (source.hasAlpha) job.Note("the transparency is dropped: scale --mask keeps it");
  const standin::Ref picture = session.MakePicture(source, Session::Alpha::kDropped);
  const standin::Ref result = job.Call(source.size, wanted.height, [&](int interval) {
    return standin::Scaling(picture, mode, wanted.width, wanted.height, interval);
  });
  return TakeImage(result, false);
}

Method MakeResample(const ResampleArguments& arguments) {
  const Geometry geometry = Geometry::Parse(arguments.size);
  const KernelRow& kernel = ParseKernel(arguments.kernel);
  return {"resample",
          "ScalingKTZ",
          {{"size", arguments.size}, {"kernel", kernel.name}, {"mode", kernel.mode}},
          [geometry](const Size& source) { return geometry.For(source); },
          [geometry, mode = kernel.mode](Job& job, const Session& session, const Image& source) {
            return RunResample(mode, geometry.For(source.size), job, session, source);
          }};
}

}  // namespace

MethodMaker DefineResampleMethod(Arguments& list) {
  auto arguments = std::make_shared<ResampleArguments>();
  list.Text("--size", "GEOM", &arguments->size, Arguments::Need::kRequired,
            "800x600, 800x, x600 or 50%; a final > only shrinks, a final < only enlarges");
  list.Text("--kernel", "KERNEL", &arguments->kernel, Arguments::Need::kRequired,
            "a name or number from \"pixmorph kernels\"");
  return [arguments](const Options&) { return MakeResample(*arguments); };
}

std::function<void()> DefineResample(Arguments& list, Options& options) {
  return DefineSingle(list, options, DefineResampleMethod);
}

}  // namespace tool
