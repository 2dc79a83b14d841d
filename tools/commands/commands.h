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
  // Which of the common options it takes.
  enum class Common { kNone, kLibrary, kAll } common;
};

std::function<void()> DefineScale(Arguments& list, Options& options);
std::function<void()> DefineScaleMask(Arguments& list, Options& options);
std::function<void()> DefineResample(Arguments& list, Options& options);
std::function<void()> DefineBlur(Arguments& list, Options& options);
std::function<void()> DefineDraw(Arguments& list, Options& options);
std::function<void()> DefineGallery(Arguments& list, Options& options);
std::function<void()> DefineInfo(Arguments& list, Options& options);
std::function<void()> DefineKernels(Arguments& list, Options& options);

inline constexpr std::array<Command, 8> kCommands = {{
    {"scale", "resize by area averaging, or smoothly (ScaleKTZ)", DefineScale, Command::Common::kAll},
    {"scale-mask", "the same with transparency, as scale --mask (ScaleImageAndMaskKTZ)", DefineScaleMask,
     Command::Common::kAll},
    {"resample", "resize with one of seven kernels (ScalingKTZ)", DefineResample, Command::Common::kAll},
    {"blur", "box blur (BlurKTZ)", DefineBlur, Command::Common::kAll},
    {"draw", "draw a picture onto another at a fractional position (DrawPictureFKTZ)", DefineDraw,
     Command::Common::kAll},
    {"gallery", "put photographs through all methods, a folder of pictures each", DefineGallery,
     Command::Common::kAll},
    {"info", "show the library, what it registers and which kernels this processor runs", DefineInfo,
     Command::Common::kLibrary},
    {"kernels", "list the kernels of resample", DefineKernels, Command::Common::kNone},
}};

// The options that every command or most commands share.
void AddCommonOptions(CLI::App& app, Options& options, Command::Common common);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_COMMANDS_COMMANDS_H_
