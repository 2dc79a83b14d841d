#include <cmath>
#include <memory>

#include "standin/methods.h"
#include "standin/picture.h"
#include "tools/commands/commands.h"
#include "tools/commands/method.h"
#include "tools/failure.h"
#include "tools/parsing/geometry.h"

namespace tool {
namespace {

struct DrawArguments {
  std::string picture, at, mask;
  double opacity = 1;
};

struct DrawFiles {
  std::string onto, output;
};

struct Drawing {
  Position at;
  std::string mask;  // a file; empty: the picture's own transparency
  double opacity = 1;
};

Drawing CheckedDrawing(const DrawArguments& arguments) {
  const Position at = ParsePosition(arguments.at);
  if (!std::isfinite(arguments.opacity))
    throw Failure(Exit::kUsage, "--opacity must be a number, usually from 0 to 1");
  return {at, arguments.mask, arguments.opacity};
}

std::string RefusalReason(const Options& options) {
  if (options.mode == standin::Mode::kGdk)
    return "in gdk mode pixels can only be copied out, not written back; take --mode console or --mode cairo";
  return "a picture could not be opened for writing; try another --mode";
}

// The report tells the file that isn't the input under `otherName`.
Fields Parameters(const Drawing& drawing, const char* otherName, const std::string& other) {
  Fields parameters = {
      {otherName, other}, {"x", drawing.at.x}, {"y", drawing.at.y}, {"opacity", drawing.opacity}};
  if (!drawing.mask.empty()) parameters.emplace_back("mask", drawing.mask);
  return parameters;
}

// `reported`: the size of the picture that the job is about.
Image Draw(const Drawing& drawing, Job& job, const Session& session, const Image& source, const Image& onto,
           const Size& reported, const Options& options) {
  CheckMemory("drawing onto " + ToText(onto.size),
              12 * std::uint64_t{onto.PixelCount()} + 16 * std::uint64_t{source.PixelCount()});
  if (onto.hasAlpha) job.Note("the transparency of what is drawn onto is dropped: drawing makes it opaque");
  const standin::Ref target = session.MakePicture(onto, Session::Alpha::kDropped);
  const bool ownMask = drawing.mask.empty();
  const standin::Ref picture =
      session.MakePicture(source, ownMask ? Session::Alpha::kMask : Session::Alpha::kDropped);
  if (!ownMask) standin::SetMask(picture, session.MakeMask(job.Read(drawing.mask)));
  job.CallInPlace(reported, onto.size.height, RefusalReason(options), [&](int interval) {
    return standin::DrawPictureF(target, picture, drawing.at.x, drawing.at.y, drawing.opacity, interval);
  });
  return TakeImage(target, false);
}

void RunDraw(const DrawArguments& arguments, const DrawFiles& files, const Options& options) {
  const Drawing drawing = CheckedDrawing(arguments);
  if ((arguments.picture == kStandardStream) + (files.onto == kStandardStream) +
          (arguments.mask == kStandardStream) >
      1)
    throw Failure(Exit::kUsage, "only one picture can come from stdin: name files for the others");
  const Session session(options);
  Job job(
      options, session,
      {"draw", "DrawPictureFKTZ", arguments.picture, files.output, Parameters(drawing, "onto", files.onto)});
  const Image onto = job.Read(files.onto);
  const Image source = job.Read(arguments.picture);
  job.Finish(Draw(drawing, job, session, source, onto, source.size, options));
}

Method MakeDraw(const DrawArguments& arguments, const Options& options) {
  const Drawing drawing = CheckedDrawing(arguments);
  if (arguments.picture == kStandardStream || arguments.mask == kStandardStream)
    throw Failure(Exit::kUsage, "what is drawn many times can't come from stdin: name a file");
  return {"draw", "DrawPictureFKTZ", Parameters(drawing, "picture", arguments.picture),
          [](const Size& onto) { return onto; },
          [drawing, file = arguments.picture, options](Job& job, const Session& session, const Image& onto) {
            return Draw(drawing, job, session, job.Read(file), onto, onto.size, options);
          }};
}

void DefineOptions(Arguments& list, DrawArguments* arguments) {
  list.Text("--at", "X,Y", &arguments->at, Arguments::Need::kRequired,
            "where the picture's top left corner goes, in pixels, fractions allowed");
  list.Number("--opacity", "A", &arguments->opacity, Arguments::Need::kOptional,
              "0 (invisible) to 1 (default)");
  list.Text("--mask", "FILE", &arguments->mask, Arguments::Need::kOptional,
            "a picture in place of its transparency: black shows, white hides");
}

}  // namespace

MethodMaker DefineDrawMethod(Arguments& list) {
  auto arguments = std::make_shared<DrawArguments>();
  list.Text("--picture", "FILE", &arguments->picture, Arguments::Need::kRequired,
            "the picture to draw; its alpha channel becomes its mask");
  DefineOptions(list, arguments.get());
  return [arguments](const Options& options) { return MakeDraw(*arguments, options); };
}

std::function<void()> DefineDraw(Arguments& list, Options& options) {
  auto arguments = std::make_shared<DrawArguments>();
  auto files = std::make_shared<DrawFiles>();
  list.Positional("PIC", &arguments->picture, "the picture to draw; its alpha channel becomes its mask");
  list.Positional("ONTO", &files->onto, "the picture to draw onto");
  list.Positional("OUT", &files->output, "where to write, - for stdout");
  DefineOptions(list, arguments.get());
  return [arguments, files, &options] { RunDraw(*arguments, *files, options); };
}

}  // namespace tool
