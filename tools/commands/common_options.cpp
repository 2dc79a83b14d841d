#include <CLI/CLI.hpp>

#include "tools/commands/arguments.h"
#include "tools/failure.h"

namespace tool {
namespace {

constexpr const char* kRuntimeGroup = "Runtime";
constexpr const char* kOutputGroup = "Output";

void SetHostVersion(const std::string& text, Options& options) {
  if (text == "none") {
    options.hostVersion.reset();
    return;
  }
  double version = 0;
  if (!CLI::detail::lexical_cast(text, version))
    throw Failure(Exit::kUsage,
                  "can't read the host version \"" + text + "\": write a number such as 2015.021, or none");
  options.hostVersion = version;
}

void SetMode(const std::string& text, Options& options) {
  for (const standin::Mode mode : {standin::Mode::kConsole, standin::Mode::kCairo, standin::Mode::kGdk}) {
    if (CLI::detail::to_lower(text) != NameOf(mode)) continue;
    options.mode = mode;
    return;
  }
  throw Failure(Exit::kUsage, "there is no mode \"" + text + "\": take --mode console, cairo or gdk");
}

void AddRuntimeOptions(CLI::App& app, Options& options) {
  app.add_option("--library", options.library, "the plugin library (default: the one beside this program)")
      ->type_name("PATH")
      ->group(kRuntimeGroup);
  app.add_option_function<std::string>(
         "--mode", [&options](const std::string& text) { SetMode(text, options); },
         "where pictures live: console (default), cairo, gdk (needs a display or Xvfb)")
      ->type_name("console|cairo|gdk")
      ->group(kRuntimeGroup);
  app.add_option_function<std::string>(
         "--host-version", [&options](const std::string& text) { SetHostVersion(text, options); },
         "version that the runtime reports: a number such as 2013.04, or none (default: 2015.021)")
      ->type_name("V")
      ->group(kRuntimeGroup);
}

void AddRunOptions(CLI::App& app, Options& options) {
  app.add_option("--yield", options.yieldInterval,
                 "hand control back every N ticks of 1/60 s, or -N milliseconds; 0: never")
      ->type_name("N")
      ->group(kRuntimeGroup);
  app.add_option("--format", options.format, "png or jpeg (default: by the output's name; png on stdout)")
      ->type_name("png|jpeg")
      ->group(kOutputGroup);
  app.add_option("--quality", options.quality, "JPEG quality, 1 to 100 (default: 90)")
      ->check(CLI::Range(1, 100).description(""))
      ->type_name("N")
      ->group(kOutputGroup);
  app.add_flag("--force", options.force, "overwrite the output")->group(kOutputGroup);
  app.add_flag("--quiet", options.quiet, "say nothing but errors")->group(kOutputGroup);
}

}  // namespace

void AddCommonOptions(CLI::App& app, Options& options, Arguments::Common common) {
  if (common == Arguments::Common::kNone) return;
  AddRuntimeOptions(app, options);
  if (common == Arguments::Common::kAll) AddRunOptions(app, options);
  app.add_flag("--json", options.json, "report as JSON")->group(kOutputGroup);
}

}  // namespace tool
