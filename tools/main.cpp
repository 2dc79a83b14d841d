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

std::string Footer() {
  std::string text = "Exit codes:\n";
  for (const ExitRow& row : kExitRows) {
    const std::string code = std::to_string(static_cast<int>(row.code));
    text += "  " + std::string(2 - code.size(), ' ') + code + "  " + row.meaning + "\n";
  }
  return text + "  128 + N when signal N ended the command; no half-written file stays behind.";
}

std::vector<std::string> CommandNames() {
  std::vector<std::string> names;
  for (const Command& command : kCommands) names.emplace_back(command.name);
  return names;
}

std::string DidYouMean(const std::string& typed, const std::vector<std::string>& candidates) {
  const std::string nearest = Nearest(typed, candidates);
  return nearest.empty() ? ": see --help" : ": did you mean \"" + nearest + "\"?";
}

// Before the parser, which would only say that it had not expected the word.
void CheckCommandName(int argc, char** argv) {
  const std::string typed = argc > 1 ? argv[1] : "";
  const std::vector<std::string> names = CommandNames();
  if (typed.empty() || typed[0] == '-' || std::find(names.begin(), names.end(), typed) != names.end()) return;
  throw Failure(Exit::kUsage, "there is no command \"" + typed + "\"" + DidYouMean(typed, names));
}

// The parser's own sentence, and for a mistyped option of the command the nearest one.
std::string UsageSentence(const CLI::App& app, const CLI::ParseError& error) {
  for (const CLI::App* command : app.get_subcommands()) {
    for (const std::string& extra : command->remaining()) {
      if (extra.rfind("--", 0) != 0) continue;
      std::vector<std::string> known;
      for (const CLI::Option* option : command->get_options()) {
        for (const std::string& name : option->get_lnames()) known.push_back("--" + name);
      }
      return "there is no option " + extra + DidYouMean(extra, known);
    }
  }
  return std::string(error.what()) + ": see --help";
}

int Report(const Failure& failure, bool json) {
  std::fprintf(stderr, "pixmorph: %s\n", failure.what());
  const int code = static_cast<int>(failure.Code());
  if (json)
    std::printf("%s\n", nlohmann::ordered_json{{"error", failure.what()}, {"exitCode", code}}.dump().c_str());
  return code;
}

void ParseAndRun(int argc, char** argv, Options& options) {
  CheckCommandName(argc, argv);
  CLI::App app("Runs the methods of the Pixmorph picture plugin on PNG and JPEG files, as a runtime would.",
               "pixmorph");
  app.footer(Footer());
  app.require_subcommand(1);
  std::function<void()> chosen;
  for (const Command& command : kCommands) {
    CLI::App* sub = app.add_subcommand(command.name, command.help);
    sub->footer(Footer());
    AddCommonOptions(*sub, options, command.common);
    Arguments list(*sub);
    sub->callback([&chosen, run = command.define(list, options)] { chosen = run; });
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    const std::vector<CLI::App*> asked = app.get_subcommands();
    const std::string text = asked.empty() ? app.help() : asked.front()->help("pixmorph");
    std::printf("%s", text.c_str());
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
