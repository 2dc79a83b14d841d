#ifndef PIXMORPH_TOOLS_FAILURE_H_
#define PIXMORPH_TOOLS_FAILURE_H_

#include <stdexcept>
#include <string>

namespace tool {

// The command's exit codes; scripts rely on them, so a number never changes its meaning.
enum class Exit : int {
  kOk = 0,
  kInternal = 1,
  kUsage = 2,
  kInput = 3,
  kFormat = 4,
  kOutput = 5,
  kSize = 6,
  kMemory = 7,
  kLibrary = 8,
  kMode = 9,
  kMethod = 10,
};

struct ExitRow {
  Exit code;
  const char* meaning;
};

constexpr ExitRow kExitRows[] = {
    {Exit::kOk, "done"},
    {Exit::kInternal, "something unforeseen went wrong"},
    {Exit::kUsage, "the command line can't be understood"},
    {Exit::kInput, "an input file is missing or can't be read"},
    {Exit::kFormat, "an input file is damaged, or neither PNG nor JPEG"},
    {Exit::kOutput, "the output exists already (see --force) or can't be written"},
    {Exit::kSize, "a picture's side is outside 1 to 32767 pixels"},
    {Exit::kMemory, "the pictures don't fit into a 32-bit process"},
    {Exit::kLibrary, "the plugin library or one of its methods is missing"},
    {Exit::kMode, "the mode can't be had here: no display, or no 32-bit cairo or GTK"},
    {Exit::kMethod, "the method gave no picture, or refused to draw"},
};

// Ends the command with one sentence on stderr that names the thing and the way out.
class Failure : public std::runtime_error {
 public:
  Failure(Exit code, const std::string& sentence) : std::runtime_error(sentence), code_(code) {}
  Exit Code() const { return code_; }

 private:
  Exit code_;
};

}  // namespace tool

#endif  // PIXMORPH_TOOLS_FAILURE_H_
