#ifndef PIXMORPH_TOOLS_COMMANDS_DESCRIPTION_H_
#define PIXMORPH_TOOLS_COMMANDS_DESCRIPTION_H_

#include <string>
#include <vector>

namespace tool {

// What can be typed, as data; shell completions are made from it.
struct OptionDescription {
  std::vector<std::string> names;  // "--size"; none: a positional argument
  std::string positional;          // "IN"
  // Of the value: choices with a | between them, "FILE", "PATH", "FOLDER", "KERNEL", or some other word for
  // what can't be completed. Empty for flags and positional arguments.
  std::string type;
  std::string help;
};

struct CommandDescription {
  std::string path;  // "" for the whole command, "batch scale" for one below another
  std::string help;
  std::vector<OptionDescription> options;
  std::vector<OptionDescription> positionals;
  std::vector<CommandDescription> commands;  // below this one, without the hidden ones
};

}  // namespace tool

#endif  // PIXMORPH_TOOLS_COMMANDS_DESCRIPTION_H_
