#ifndef PIXMORPH_TOOLS_COMMANDS_METHOD_H_
#define PIXMORPH_TOOLS_COMMANDS_METHOD_H_

#include <functional>
#include <string>

#include "tools/commands/arguments.h"
#include "tools/run/job.h"

namespace tool {

// One method of the plugin with everything but the pictures chosen: its own command runs it once, `batch`
// over many files.
struct Method {
  std::string command;  // "scale"
  std::string name;     // "ScaleKTZ"
  Fields parameters;
  // The result's size for a source of that size. Throws Failure (kSize).
  std::function<Size(const Size& source)> sizeFor;
  // The result for one source. Throws Failure.
  std::function<Image(Job& job, const Session& session, const Image& source)> run;
};

// The method as the parsed options want it. Throws Failure (kUsage, kSize).
using MethodMaker = std::function<Method(const Options& options)>;

// Add the options that say how, without the files.
MethodMaker DefineScaleMethod(Arguments& list);
MethodMaker DefineScaleMaskMethod(Arguments& list);
MethodMaker DefineResampleMethod(Arguments& list);
MethodMaker DefineBlurMethod(Arguments& list);
// Draws a picture, named by an option, onto the source.
MethodMaker DefineDrawMethod(Arguments& list);

// The whole subcommand for one picture: IN, OUT and the method's own options.
std::function<void()> DefineSingle(Arguments& list, Options& options, MethodMaker (*define)(Arguments& list));

}  // namespace tool

#endif  // PIXMORPH_TOOLS_COMMANDS_METHOD_H_
