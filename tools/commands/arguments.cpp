#include "tools/commands/arguments.h"

#include <CLI/CLI.hpp>

namespace tool {
namespace {

OptionDescription Describe(const CLI::Option& option) {
  OptionDescription description;
  for (const std::string& name : option.get_lnames()) description.names.push_back("--" + name);
  for (const std::string& name : option.get_snames()) description.names.push_back("-" + name);
  description.positional = option.get_positional();
  if (option.get_expected_max() > 0) description.type = option.get_type_name();
  if (!description.names.empty() && option.get_expected_max() > 0 && description.type.empty())
    description.type = "VALUE";
  description.help = option.get_description();
  return description;
}

CommandDescription Describe(const CLI::App& app, const std::string& path) {
  CommandDescription description;
  description.path = path;
  description.help = app.get_description();
  for (const CLI::Option* option : app.get_options()) {
    const OptionDescription described = Describe(*option);
    (described.names.empty() ? description.positionals : description.options).push_back(described);
  }
  // A command without a group is a hidden one.
  for (const CLI::App* below :
       app.get_subcommands([](const CLI::App* sub) { return !sub->get_group().empty(); }))
    description.commands.push_back(Describe(*below, path + (path.empty() ? "" : " ") + below->get_name()));
  return description;
}

}  // namespace

void Arguments::Positional(const char* name, std::string* value, const char* help) {
  app_.add_option(name, *value, help)->type_name("")->required();
}

void Arguments::OptionalPositional(const char* name, std::string* value, const char* help) {
  app_.add_option(name, *value, help)->type_name("");
}

void Arguments::Positionals(const char* name, std::vector<std::string>* values, const char* help) {
  app_.add_option(name, *values, help)->type_name("")->required();
}

void Arguments::Text(const char* option, const char* type, std::string* value, Need need, const char* help) {
  app_.add_option(option, *value, help)->type_name(type)->required(need == Need::kRequired);
}

void Arguments::Number(const char* option, const char* type, double* value, Need need, const char* help) {
  app_.add_option(option, *value, help)->type_name(type)->required(need == Need::kRequired);
}

void Arguments::Flag(const char* option, bool* value, const char* help) {
  app_.add_flag(option, *value, help);
}

void Arguments::Nested(const char* name, const char* help, Options& options,
                       const std::function<std::function<void()>(Arguments& list)>& define,
                       std::function<void()>* chosen) {
  app_.require_subcommand(1);
  CLI::App* nested = app_.add_subcommand(name, help);
  AddCommonOptions(*nested, options, Common::kAll);
  Arguments list(*nested);
  nested->callback([chosen, run = define(list)] { *chosen = run; });
}

std::function<CommandDescription()> Arguments::Describer() const {
  const CLI::App* root = &app_;
  while (root->get_parent()) root = root->get_parent();
  return [root] { return Describe(*root, ""); };
}

}  // namespace tool
