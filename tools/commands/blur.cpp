#include <memory>

#include "standin/methods.h"
#include "tools/commands/commands.h"
#include "tools/commands/method.h"
#include "tools/failure.h"

namespace tool {
namespace {

Image RunBlur(double radius, Job& job, const Session& session, const Image& source) {
  CheckMemory("blurring " + ToText(source.size), std::uint64_t{source.PixelCount()} * 16);
  if (source.hasAlpha) job.Note("the transparency is dropped: BlurKTZ knows colours only");
  const standin::Ref picture = session.MakePicture(source, Session::Alpha::kDropped);
  const standin::Ref result = job.Call(source.size, std::int64_t{source.size.height} * 2, [&](int interval) {
    return standin::Blur(picture, radius, interval);
  });
  return TakeImage(result, false);
}

Method MakeBlur(double radius) {
  if (!(radius >= 0)) throw Failure(Exit::kUsage, "--radius must be 0 or more pixels, such as 2 or 12.5");
  return {"blur",
          "BlurKTZ",
          {{"radius", radius}},
          [](const Size& source) { return source; },
          [radius](Job& job, const Session& session, const Image& source) {
            return RunBlur(radius, job, session, source);
          }};
}

}  // namespace

MethodMaker DefineBlurMethod(Arguments& list) {
  auto radius = std::make_shared<double>();
  list.Number("--radius", "R", radius.get(), Arguments::Need::kRequired,
              "pixels; its whole part counts, below 1 nothing changes");
  return [radius](const Options&) { return MakeBlur(*radius); };
}

std::function<void()> DefineBlur(Arguments& list, Options& options) {
  return DefineSingle(list, options, DefineBlurMethod);
}

}  // namespace tool
