#include <cmath>
#include <memory>

#include "standin/methods.h"
#include "standin/picture.h"
#include "tools/commands/commands.h"
#include "tools/failure.h"
#include "tools/parsing/geometry.h"
#include "tools/run/job.h"

namespace tool {
namespace {

struct DrawArguments {
  std::string picture, onto, output, at, mask;
  double opacity = 1;
};

std::string RefusalReason(const Options& options) {
  if (options.mode == standin::Mode::kGdk)
    return "in gdk mode pixels can only be copied out, not written back; take --mode console or --mode cairo";
  return "a picture could not be opened for writing; try another --mode";
}

nlohmann::ordered_json Parameters(const DrawArguments& arguments, const Position& at) {
  nlohmann::ordered_json parameters = {
      {"onto", arguments.onto}, {"x", at.x}, {"y", at.y}, {"opacity", arguments.opacity}};
  if (!arguments.mask.empty()) parameters["mask"] = arguments.mask;
  return parameters;
}

void RunDraw(const DrawArguments& arguments, const Options& options) {
  const Position at = ParsePosition(arguments.at);
  if (!std::isfinite(arguments.opacity))
    throw Failure(Exit::kUsage, "--opacity must be a number, usually from 0 to 1");
  if ((arguments.picture == kStandardStream) + (arguments.onto == kStandardStream) +
          (arguments.mask == kStandardStream) >
      1)
    throw Failure(Exit::kUsage, "only one picture can come from stdin: name files for the others");
  const Session session(options);
  Job job(options, session,
          {"draw", "DrawPictureFKTZ", arguments.picture, arguments.output, Parameters(arguments, at)});
  const Image onto = job.Read(arguments.onto);
  const Image source = job.Read(arguments.picture);
  CheckMemory("drawing onto " + ToText(onto.size),
              12 * std::uint64_t{onto.PixelCount()} + 16 * std::uint64_t{source.PixelCount()});
  if (onto.hasAlpha)
    job.Note("the transparency of " + arguments.onto + " is dropped: drawing makes it opaque");
  const standin::Ref target = session.MakePicture(onto, Session::Alpha::kDropped);
  const bool ownMask = arguments.mask.empty();
  const standin::Ref picture =
      session.MakePicture(source, ownMask ? Session::Alpha::kMask : Session::Alpha::kDropped);
  if (!ownMask) standin::SetMask(picture, session.MakeMask(job.Read(arguments.mask)));
  job.CallInPlace(source.size, onto.size.height, RefusalReason(options), [&](int interval) {
    return standin::DrawPictureF(target, picture, at.x, at.y, arguments.opacity, interval);
  });
  job.Finish(TakeImage(target, false));
}

}  // namespace

std::function<void()> DefineDraw(CLI::App& app, Options& options) {
  auto arguments = std::make_shared<DrawArguments>();
  app.add_option("PIC", arguments->picture, "the picture to draw; its alpha channel becomes its mask")
      ->required();
  app.add_option("ONTO", arguments->onto, "the picture to draw onto")->required();
  app.add_option("OUT", arguments->output, "where to write, - for stdout")->required();
  app.add_option("--at", arguments->at, "where PIC's top left corner goes, in pixels, fractions allowed")
      ->type_name("X,Y")
      ->required();
  app.add_option("--opacity", arguments->opacity, "0 (invisible) to 1 (default)")->type_name("A");
  app.add_option("--mask", arguments->mask,
                 "a picture in place of PIC's transparency: black shows, white hides")
      ->type_name("FILE");
  return [arguments, &options] { RunDraw(*arguments, options); };
}

}  // namespace tool
