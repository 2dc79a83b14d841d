#include "tools/commands/arguments.h"

#include <CLI/CLI.hpp>

namespace tool {

void Arguments::Positional(const char* name, std::string* value, const char* help) {
  app_.add_option(name, *value, help)->type_name("")->required();
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

}  // namespace tool
