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

Fields Parameters(const DrawArguments& arguments, const Position& at) {
  Fields parameters = {{"onto", arguments.onto}, {"x", at.x}, {"y", at.y}, {"opacity", arguments.opacity}};
  if (!arguments.mask.empty()) parameters.emplace_back("mask", arguments.mask);
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

std::function<void()> DefineDraw(Arguments& list, Options& options) {
  auto arguments = std::make_shared<DrawArguments>();
  list.Positional("PIC", &arguments->picture, "the picture to draw; its alpha channel becomes its mask");
  list.Positional("ONTO", &arguments->onto, "the picture to draw onto");
  list.Positional("OUT", &arguments->output, "where to write, - for stdout");
  list.Text("--at", "X,Y", &arguments->at, Arguments::Need::kRequired,
            "where PIC's top left corner goes, in pixels, fractions allowed");
  list.Number("--opacity", "A", &arguments->opacity, Arguments::Need::kOptional,
              "0 (invisible) to 1 (default)");
  list.Text("--mask", "FILE", &arguments->mask, Arguments::Need::kOptional,
            "a picture in place of PIC's transparency: black shows, white hides");
  return [arguments, &options] { RunDraw(*arguments, options); };
}

}  // namespace tool
