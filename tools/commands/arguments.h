#ifndef PIXMORPH_TOOLS_COMMANDS_ARGUMENTS_H_
#define PIXMORPH_TOOLS_COMMANDS_ARGUMENTS_H_

#include <functional>
#include <string>
#include <vector>

#include "tools/commands/description.h"
#include "tools/run/options.h"

namespace CLI {
class App;
}

namespace tool {

// The arguments of one subcommand, without the parser's headers, which take long to compile. The values are
// filled in by the parser and must outlive it; what they hold before is the default.
class Arguments {
 public:
  enum class Need { kOptional, kRequired };

  // Which of the common options a command takes.
  enum class Common { kNone, kLibrary, kAll };

  explicit Arguments(CLI::App& app) : app_(app) {}

  // Required, in the order in which they are added.
  void Positional(const char* name, std::string* value, const char* help);
  // After the required ones.
  void OptionalPositional(const char* name, std::string* value, const char* help);
  // The last one: one or more.
  void Positionals(const char* name, std::vector<std::string>* values, const char* help);
  void Text(const char* option, const char* type, std::string* value, Need need, const char* help);
  void Number(const char* option, const char* type, double* value, Need need, const char* help);
  void Flag(const char* option, bool* value, const char* help);

  // A command below this one, with all common options; one of them has to be named. `define` adds its
  // arguments and gives what to do when it was named.
  void Nested(const char* name, const char* help, Options& options,
              const std::function<std::function<void()>(Arguments& list)>& define,
              std::function<void()>* chosen);

  // Tells the whole command line, to be called once everything is defined.
  std::function<CommandDescription()> Describer() const;

 private:
  CLI::App& app_;
};

// The options that every command or most commands share.
void AddCommonOptions(CLI::App& app, Options& options, Arguments::Common common);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_COMMANDS_ARGUMENTS_H_
