#include "tools/commands/shells.h"

#include <algorithm>
#include <vector>

#include "tools/parsing/kernel_names.h"

namespace tool {
namespace {

// The whole command and everything below it, in the order of the help.
std::vector<const CommandDescription*> Flattened(const CommandDescription& whole) {
  std::vector<const CommandDescription*> all = {&whole};
  for (const CommandDescription& below : whole.commands) {
    const std::vector<const CommandDescription*> more = Flattened(below);
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

std::string LastWord(const std::string& path) { return path.substr(path.rfind(' ') + 1); }

std::string Replaced(const std::string& text, const std::string& from, const std::string& to) {
  std::string replaced;
  std::size_t begin = 0;
  for (std::size_t at; (at = text.find(from, begin)) != text.npos; begin = at + from.size())
    replaced += text.substr(begin, at - begin) + to;
  return replaced + text.substr(begin);
}

std::string Quoted(const std::string& text) { return "'" + Replaced(text, "'", "'\\''") + "'"; }

// The values that an option can have, with blanks between; empty when they can't be listed.
std::string Choices(const OptionDescription& option) {
  if (option.type.find('|') != std::string::npos) return Replaced(option.type, "|", " ");
  if (option.type != "KERNEL") return "";
  std::string names;
  for (const KernelRow& row : KernelRows()) names += (names.empty() ? "" : " ") + std::string(row.name);
  return names;
}

bool TakesFile(const OptionDescription& option) { return option.type == "FILE" || option.type == "PATH"; }

std::string Joined(const std::vector<std::string>& words, const std::string& between) {
  std::string joined;
  for (const std::string& word : words) joined += (joined.empty() ? "" : between) + word;
  return joined;
}

// One arm for each command: what has been typed so far and the next word give the command that is meant.
// `form` holds @FROM, @WORD and @TO.
std::string CommandArms(const CommandDescription& whole, const std::string& form) {
  std::string arms;
  for (const CommandDescription* command : Flattened(whole)) {
    for (const CommandDescription& below : command->commands) {
      std::string arm = Replaced(form, "@FROM", command->path);
      arm = Replaced(arm, "@WORD", LastWord(below.path));
      arms += Replaced(arm, "@TO", below.path);
    }
  }
  return arms;
}

std::string BashValueArm(const CommandDescription& command, const OptionDescription& option) {
  std::vector<std::string> patterns;
  for (const std::string& name : option.names) patterns.push_back(Quoted(command.path + " " + name));
  const std::string choices = Choices(option);
  std::string action = "return";
  if (!choices.empty()) action = "COMPREPLY=($(compgen -W " + Quoted(choices) + " -- \"$cur\")); return";
  if (TakesFile(option)) action = "_pixmorph_files; return";
  return "    " + Joined(patterns, " | ") + ") " + action + " ;;\n";
}

std::string BashArm(const CommandDescription& command) {
  std::vector<std::string> names;
  for (const CommandDescription& below : command.commands) names.push_back(LastWord(below.path));
  std::vector<std::string> options;
  for (const OptionDescription& option : command.options)
    options.insert(options.end(), option.names.begin(), option.names.end());
  return "    " + Quoted(command.path) + ") options=" + Quoted(Joined(options, " ")) +
         " names=" + Quoted(Joined(names, " ")) + " ;;\n";
}

// The brackets, colons and backslashes of a text that stands inside a zsh option's description.
std::string ZshText(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '[' || c == ']' || c == ':' || c == '\\') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string ZshOptions(const CommandDescription& command) {
  std::string specs;
  for (const OptionDescription& option : command.options) {
    std::string value;
    if (!option.type.empty()) {
      const std::string choices = Choices(option);
      value = ":" + ZshText(option.type) + ":";
      value += !choices.empty() ? "(" + choices + ")" : TakesFile(option) ? "_files" : " ";
    }
    for (const std::string& name : option.names)
      specs += " \\\n        " + Quoted(name + "[" + ZshText(option.help) + "]" + value);
  }
  return specs;
}

std::string ZshArm(const CommandDescription& command) {
  std::string arm = "    " + Quoted(command.path) + ")\n";
  if (!command.commands.empty()) {
    arm += "      commands=(";
    for (const CommandDescription& below : command.commands)
      arm += "\n        " + Quoted(LastWord(below.path) + ":" + ZshText(below.help));
    arm += ")\n      [[ $PREFIX == -* ]] || { _describe -t commands command commands; return }\n";
  }
  arm += "      _arguments" + ZshOptions(command);
  if (!command.positionals.empty()) arm += " \\\n        '*:file:_files'";
  return arm + " ;;\n";
}

std::string FishOption(const std::string& at, const OptionDescription& option) {
  std::string line = at;
  for (const std::string& name : option.names)
    line += name.rfind("--", 0) == 0 ? " -l " + name.substr(2) : " -s " + name.substr(1);
  const std::string choices = Choices(option);
  if (!choices.empty())
    line += " -x -a " + Quoted(choices);
  else if (TakesFile(option))
    line += " -r -F";
  else if (!option.type.empty())
    line += " -x";
  return line + " -d " + Quoted(option.help) + "\n";
}

}  // namespace

std::string BashCompletion(const CommandDescription& whole) {
  std::string values;
  std::string arms;
  for (const CommandDescription* command : Flattened(whole)) {
    for (const OptionDescription& option : command->options) {
      if (!option.type.empty()) values += BashValueArm(*command, option);
    }
    arms += BashArm(*command);
  }
  return "# Completion of pixmorph for bash.\n"
         "_pixmorph_files() {\n"
         "  compopt -o filenames 2>/dev/null\n"
         "  mapfile -t COMPREPLY < <(compgen -f -- \"$cur\")\n"
         "}\n"
         "_pixmorph() {\n"
         "  local cur=${COMP_WORDS[COMP_CWORD]} command='' options='' names='' i\n"
         "  COMPREPLY=()\n"
         "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
         "    case \"$command ${COMP_WORDS[i]}\" in\n" +
         CommandArms(whole, "      '@FROM @WORD') command='@TO' ;;\n") +
         "    esac\n"
         "  done\n"
         "  case \"$command ${COMP_WORDS[COMP_CWORD - 1]}\" in\n" +
         values +
         "  esac\n"
         "  case \"$command\" in\n" +
         arms +
         "  esac\n"
         "  if [[ $cur == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
         "  elif [[ -n $names ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$names\" -- \"$cur\"))\n"
         "  else\n"
         "    _pixmorph_files\n"
         "  fi\n"
         "}\n"
         "complete -F _pixmorph pixmorph\n";
}

std::string ZshCompletion(const CommandDescription& whole) {
  std::string arms;
  for (const CommandDescription* command : Flattened(whole)) arms += ZshArm(*command);
  return "#compdef pixmorph\n"
         "# Completion of pixmorph for zsh.\n"
         "_pixmorph() {\n"
         "  local command='' i\n"
         "  local -a commands\n"
         "  for ((i = 2; i < CURRENT; i++)); do\n"
         "    case \"$command ${words[i]}\" in\n" +
         CommandArms(whole, "      '@FROM @WORD') command='@TO' ;;\n") +
         "    esac\n"
         "  done\n"
         "  case \"$command\" in\n" +
         arms +
         "  esac\n"
         "}\n"
         "if [ \"$funcstack[1]\" = _pixmorph ]; then _pixmorph \"$@\"; else compdef _pixmorph pixmorph; fi\n";
}

std::string FishCompletion(const CommandDescription& whole) {
  std::string lines;
  for (const CommandDescription* command : Flattened(whole)) {
    const std::string at = "complete -c pixmorph -n '__pixmorph_at \"" + command->path + "\"'";
    for (const CommandDescription& below : command->commands)
      lines += at + " -f -a " + LastWord(below.path) + " -d " + Quoted(below.help) + "\n";
    for (const OptionDescription& option : command->options) lines += FishOption(at, option);
  }
  return "# Completion of pixmorph for fish.\n"
         "function __pixmorph_at\n"
         "  set -l command ''\n"
         "  for word in (commandline -opc)[2..]\n"
         "    switch \"$command $word\"\n" +
         CommandArms(whole, "      case '@FROM @WORD'\n        set command '@TO'\n") +
         "    end\n"
         "  end\n"
         "  test \"$command\" = \"$argv[1]\"\n"
         "end\n" +
         lines;
}

}  // namespace tool
