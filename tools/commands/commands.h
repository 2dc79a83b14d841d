#ifndef PIXMORPH_TOOLS_COMMANDS_COMMANDS_H_
#define PIXMORPH_TOOLS_COMMANDS_COMMANDS_H_

#include <array>
#include <functional>

#include "tools/commands/arguments.h"
#include "tools/run/options.h"

namespace tool {

// One subcommand: its row in the table and its file here are all that a new one needs.
struct Command {
  const char* name;
  const char* help;
  // Adds the arguments and gives what to do once they are parsed. `options` outlives both.
  std::function<void()> (*define)(Arguments& list, Options& options);
  Arguments::Common common;
  const char* example = nullptr;  // for the help; a test runs it
  // Shown in the help; a hidden command is for installations, not for people.
  bool shown = true;
};

std::function<void()> DefineScale(Arguments& list, Options& options);
std::function<void()> DefineScaleMask(Arguments& list, Options& options);
std::function<void()> DefineResample(Arguments& list, Options& options);
std::function<void()> DefineBlur(Arguments& list, Options& options);
std::function<void()> DefineDraw(Arguments& list, Options& options);
std::function<void()> DefineBatch(Arguments& list, Options& options);
std::function<void()> DefineDemo(Arguments& list, Options& options);
std::function<void()> DefineGallery(Arguments& list, Options& options);
std::function<void()> DefineBench(Arguments& list, Options& options);
std::function<void()> DefineInfo(Arguments& list, Options& options);
std::function<void()> DefineKernels(Arguments& list, Options& options);
std::function<void()> DefineCompletion(Arguments& list, Options& options);

inline constexpr std::array<Command, 12> kCommands = {{
    {"scale", "resize by area averaging, or smoothly (ScaleKTZ)", DefineScale, Arguments::Common::kAll,
     "pixmorph scale photo.jpg small.jpg --size '800x>'"},
    {"scale-mask", "the same with transparency, as scale --mask (ScaleImageAndMaskKTZ)", DefineScaleMask,
     Arguments::Common::kAll, "pixmorph scale-mask logo.png icon.png --size 64x64"},
    {"resample", "resize with one of seven kernels (ScalingKTZ)", DefineResample, Arguments::Common::kAll,
     "pixmorph resample photo.jpg sharp.png --size 50% --kernel lanczos3"},
    {"blur", "box blur (BlurKTZ)", DefineBlur, Arguments::Common::kAll,
     "pixmorph blur photo.jpg soft.jpg --radius 8"},
    {"draw", "draw a picture onto another at a fractional position (DrawPictureFKTZ)", DefineDraw,
     Arguments::Common::kAll, "pixmorph draw logo.png photo.jpg marked.jpg --at 10.5,20.25 --opacity 0.7"},
    {"batch", "put many files through one method", DefineBatch, Arguments::Common::kNone,
     "pixmorph batch scale photos/*.jpg --size 160x --mkdir --output 'thumbs/{name}-{width}x{height}.png'"},
    {"demo", "put one picture through all five methods", DefineDemo, Arguments::Common::kAll,
     "pixmorph demo results photo.jpg"},
    {"gallery", "put photographs through all methods, a folder of pictures each", DefineGallery,
     Arguments::Common::kAll, "pixmorph gallery results photo.jpg --badge logo.png --brief"},
    {"bench", "time the methods on one picture", DefineBench, Arguments::Common::kLibrary,
     "pixmorph bench --size 400x300 --rounds 3"},
    {"info", "show the library, what it registers and which kernels this processor runs", DefineInfo,
     Arguments::Common::kLibrary, "pixmorph info --json"},
    {"kernels", "list the kernels of resample, or their curves", DefineKernels, Arguments::Common::kLibrary,
     "pixmorph kernels --curves svg > curves.svg"},
    {"completion", "print the completion of a shell", DefineCompletion, Arguments::Common::kNone, nullptr, false},
}};

}  // namespace tool

#endif  // PIXMORPH_TOOLS_COMMANDS_COMMANDS_H_
