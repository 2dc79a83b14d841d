#ifndef PIXMORPH_TOOLS_COMMANDS_ARGUMENTS_H_
#define PIXMORPH_TOOLS_COMMANDS_ARGUMENTS_H_

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace tool {

// The arguments of one subcommand, without the parser's headers, which take long to compile. The values are
// filled in by the parser and must outlive it; what they hold before is the default.
class Arguments {
 public:
  enum class Need { kOptional, kRequired };

  explicit Arguments(CLI::App& app) : app_(app) {}

  // Required, in the order in which they are added.
  void Positional(const char* name, std::string* value, const char* help);
  // The last one: one or more.
  void Positionals(const char* name, std::vector<std::string>* values, const char* help);
  void Text(const char* option, const char* type, std::string* value, Need need, const char* help);
  void Number(const char* option, const char* type, double* value, Need need, const char* help);
  void Flag(const char* option, bool* value, const char* help);

 private:
  CLI::App& app_;
};

}  // namespace tool

#endif  // PIXMORPH_TOOLS_COMMANDS_ARGUMENTS_H_
