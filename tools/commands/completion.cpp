#include <cstdio>
#include <memory>

#include "tools/commands/commands.h"
#include "tools/commands/shells.h"
#include "tools/failure.h"
#include "tools/parsing/suggest.h"

namespace tool {
namespace {

std::string ScriptFor(const std::string& shell, const CommandDescription& whole) {
  const std::string folded = FoldName(shell);
  if (folded == "bash") return BashCompletion(whole);
  if (folded == "zsh") return ZshCompletion(whole);
  if (folded == "fish") return FishCompletion(whole);
  throw Failure(Exit::kUsage, "there is no completion for \"" + shell + "\": take bash, zsh or fish");
}

}  // namespace

std::function<void()> DefineCompletion(Arguments& list, Options&) {
  auto shell = std::make_shared<std::string>();
  list.Positional("SHELL", shell.get(), "bash, zsh or fish");
  return [shell, describe = list.Describer()] { std::printf("%s", ScriptFor(*shell, describe()).c_str()); };
}

}  // namespace tool
