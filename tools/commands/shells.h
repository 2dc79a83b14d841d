#ifndef PIXMORPH_TOOLS_COMMANDS_SHELLS_H_
#define PIXMORPH_TOOLS_COMMANDS_SHELLS_H_

#include <string>

#include "tools/commands/description.h"

namespace tool {

// Scripts that complete the command line of `pixmorph`: commands, options, their choices, and file names
// where files are wanted. [pure]
std::string BashCompletion(const CommandDescription& whole);
std::string ZshCompletion(const CommandDescription& whole);
std::string FishCompletion(const CommandDescription& whole);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_COMMANDS_SHELLS_H_
