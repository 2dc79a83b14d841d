#ifndef PIXMORPH_TOOLS_COMMANDS_COMMANDS_H_
#define PIXMORPH_TOOLS_COMMANDS_COMMANDS_H_

#include <CLI/App.hpp>
#include <array>
#include <functional>

#include "tools/run/options.h"

namespace tool {

// One subcommand: its row in the table and its file here are all that a new one needs.
struct Command {
  const char* name;
  const char* help;
  // Adds the arguments to `app` and gives what to do once they are parsed. `options` outlives both.
  std::function<void()> (*define)(CLI::App& app, Options& options);
  // Which of the common options it takes.
  enum class Common { kNone, kLibrary, kAll } common;
};

std::function<void()> DefineScale(CLI::App& app, Options& options);
std::function<void()> DefineScaleMask(CLI::App& app, Options& options);
std::function<void()> DefineResample(CLI::App& app, Options& options);
std::function<void()> DefineBlur(CLI::App& app, Options& options);
std::function<void()> DefineDraw(CLI::App& app, Options& options);
std::function<void()> DefineGallery(CLI::App& app, Options& options);
std::function<void()> DefineInfo(CLI::App& app, Options& options);
std::function<void()> DefineKernels(CLI::App& app, Options& options);

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
