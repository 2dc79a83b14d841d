#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <new>
#include <nlohmann/json.hpp>
#include <vector>

#include "tools/commands/commands.h"
#include "tools/failure.h"
#include "tools/parsing/suggest.h"

namespace tool {
namespace {

std::string ExitCodes() {
  std::string text = "Exit codes:\n";
  for (const ExitRow& row : kExitRows) {
    const std::string code = std::to_string(static_cast<int>(row.code));
    text += "  " + std::string(2 - code.size(), ' ') + code + "  " + row.meaning + "\n";
  }
  return text + "  128 + N when signal N ended the command; no half-written file stays behind.";
}

std::string DidYouMean(const std::string& typed, const std::vector<std::string>& candidates) {
  const std::string nearest = Nearest(typed, candidates);
  return nearest.empty() ? ": see --help" : ": did you mean \"" + nearest + "\"?";
}

// What is typed to get there: "pixmorph batch".
std::string Words(const CLI::App& command) {
  const CLI::App* parent = command.get_parent();
  return (parent ? Words(*parent) + " " : "") + command.get_name();
}

// For a word where one of the names was expected.
std::string NoSuchCommand(const CLI::App& level, const std::string& typed,
                          const std::vector<std::string>& names) {
  if (!level.get_parent() || !Nearest(typed, names).empty())
    return "there is no command \"" + typed + "\"" + DidYouMean(typed, names);
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return "\"" + Words(level) + "\" wants one of " + list + " before \"" + typed + "\"";
}

// Before the parser, which would only say that it had not expected the word.
void CheckCommandNames(const CLI::App& app, int argc, char** argv) {
  const CLI::App* level = &app;
  for (int i = 1; i < argc; ++i) {
    const std::vector<const CLI::App*> below = level->get_subcommands([](const CLI::App*) { return true; });
    const std::string typed = argv[i];
    if (below.empty() || typed.empty() || typed[0] == '-') return;
    std::vector<std::string> names;
    for (const CLI::App* command : below) names.push_back(command->get_name());
    const auto named = std::find(names.begin(), names.end(), typed);
    if (named == names.end()) throw Failure(Exit::kUsage, NoSuchCommand(*level, typed, names));
    level = below[static_cast<std::size_t>(named - names.begin())];
  }
}

// The innermost command that was named.
const CLI::App& Chosen(const CLI::App& app) {
  const CLI::App* chosen = &app;
  while (!chosen->get_subcommands().empty()) chosen = chosen->get_subcommands().front();
  return *chosen;
}

// The parser's own sentence, and for a mistyped option of the command the nearest one.
std::string UsageSentence(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App& command = Chosen(app);
  for (const std::string& extra : command.remaining()) {
    if (extra.rfind("--", 0) != 0) continue;
    std::vector<std::string> known;
    for (const CLI::Option* option : command.get_options()) {
      for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
    }
    return "there is no option " + extra + DidYouMean(extra, known);
  }
  const std::string said = error.what();
  if (dynamic_cast<const CLI::ConversionError*>(&error))  // "Could not convert: --radius = abc"
    return "can't read" + said.substr(said.find(':') + 1) + ": a number belongs there";
  if (command.get_require_subcommand_min() > 0 && command.get_subcommands().empty())
    return "a command is missing, such as \"" + Words(command) + " " +
           command.get_subcommands([](const CLI::App*) { return true; }).front()->get_name() +
           "\": see --help";
  return said + ": see --help";
}

int Report(const Failure& failure, bool json) {
  std::fprintf(stderr, "pixmorph: %s\n", failure.what());
  const int code = static_cast<int>(failure.Code());
  if (json)
    std::printf("%s\n", nlohmann::ordered_json{{"error", failure.what()}, {"exitCode", code}}.dump().c_str());
  return code;
}

void DefineCommands(CLI::App& app, Options& options, std::function<void()>* chosen) {
  app.footer(ExitCodes());
  app.require_subcommand(1);
  app.set_version_flag("--version", "pixmorph " PIXMORPH_VERSION, "print the version and exit");
  for (const Command& command : kCommands) {
    CLI::App* sub = app.add_subcommand(command.name, command.help);
    if (command.example) sub->footer(std::string("Example:\n  ") + command.example + "\n\n" + ExitCodes());
    if (!command.shown) sub->group("");
    AddCommonOptions(*sub, options, command.common);
    Arguments list(*sub);
    sub->callback([chosen, run = command.define(list, options)] { *chosen = run; });
  }
  // After the commands, which would inherit it.
  app.set_help_all_flag("--help-all", "print the help of every command and exit");
}

std::string HelpText(const CLI::App& app) {
  const CLI::App& asked = Chosen(app);
  return asked.help(asked.get_parent() ? Words(*asked.get_parent()) : "");
}

void ParseAndRun(int argc, char** argv, Options& options) {
  CLI::App app("Runs the methods of the Pixmorph picture plugin on PNG and JPEG files, as a runtime would.",
               "pixmorph");
  std::function<void()> chosen;
  DefineCommands(app, options, &chosen);
  CheckCommandNames(app, argc, argv);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    std::printf("%s", HelpText(app).c_str());
    return;
  } catch (const CLI::CallForAllHelp&) {
    std::printf("%s", app.help("", CLI::AppFormatMode::All).c_str());
    return;
  } catch (const CLI::CallForVersion& version) {
    std::printf("%s\n", version.what());
    return;
  } catch (const CLI::ParseError& error) {
    throw Failure(Exit::kUsage, UsageSentence(app, error));
  }
  chosen();
}

int Main(int argc, char** argv) {
  Options options;
  try {
    ParseAndRun(argc, argv, options);
    return 0;
  } catch (const Failure& failure) {
    return Report(failure, options.json);
  } catch (const std::bad_alloc&) {
    return Report(
        Failure(Exit::kMemory, "the memory of a 32-bit process ran out: take a smaller picture or --size"),
        options.json);
  } catch (const std::exception& error) {
    return Report(Failure(Exit::kInternal, std::string("unforeseen: ") + error.what()), options.json);
  }
}

}  // namespace
}  // namespace tool

int main(int argc, char** argv) { return tool::Main(argc, argv); }
