#include <memory>

#include "standin/methods.h"
#include "tools/commands/commands.h"
#include "tools/failure.h"
#include "tools/run/job.h"

namespace tool {
namespace {

struct BlurArguments {
  std::string input, output;
  double radius = 0;
};

void RunBlur(const BlurArguments& arguments, const Options& options) {
  if (!(arguments.radius >= 0))
    throw Failure(Exit::kUsage, "--radius must be 0 or more pixels, such as 2 or 12.5");
  const Session session(options);
  Job job(options, session,
          {"blur", "BlurKTZ", arguments.input, arguments.output, {{"radius", arguments.radius}}});
  const Image source = job.Read(arguments.input);
  CheckMemory("blurring " + ToText(source.size), std::uint64_t{source.PixelCount()} * 16);
  if (source.hasAlpha) job.Note("the transparency is dropped: BlurKTZ knows colours only");
  const standin::Ref picture = session.MakePicture(source, Session::Alpha::kDropped);
  const standin::Ref result = job.Call(source.size, std::int64_t{source.size.height} * 2, [&](int interval) {
    return standin::Blur(picture, arguments.radius, interval);
  });
  job.Finish(TakeImage(result, false));
}

}  // namespace

std::function<void()> DefineBlur(Arguments& list, Options& options) {
  auto arguments = std::make_shared<BlurArguments>();
  list.Positional("IN", &arguments->input, "a PNG or JPEG file, - for stdin");
  list.Positional("OUT", &arguments->output, "where to write, - for stdout");
  list.Number("--radius", "R", &arguments->radius, Arguments::Need::kRequired,
              "pixels; its whole part counts, below 1 nothing changes");
  return [arguments, &options] { RunBlur(*arguments, options); };
}

}  // namespace tool
