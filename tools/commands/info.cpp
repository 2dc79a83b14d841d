#include <cstdio>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>

#include "standin/registrations.h"
#include "tools/commands/commands.h"
#include "tools/run/level_names.h"
#include "tools/run/session.h"

namespace tool {
namespace {

// The version stamp is a text in the library that nothing exports.
std::string VersionStamp(const std::string& library) {
  std::ifstream file(library, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const std::size_t begin = bytes.find("$$ Plugin version:");
  if (begin == bytes.npos) return "";
  const std::size_t end = bytes.find('\0', begin);
  return bytes.substr(begin, end - begin);
}

const char* KindName(standin::RegistrationKind kind) {
  switch (kind) {
    case standin::RegistrationKind::kClassExtension:
      return "class extension";
    case standin::RegistrationKind::kModule:
      return "module";
    case standin::RegistrationKind::kClass:
      return "class";
    case standin::RegistrationKind::kInterface:
      return "interface";
    case standin::RegistrationKind::kControl:
      return "control";
    case standin::RegistrationKind::kMethod:
      return "method";
  }
  return "";
}

nlohmann::ordered_json Registered() {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const standin::Registration& registration : standin::Registrations()) {
    nlohmann::ordered_json methods = nlohmann::ordered_json::array();
    for (const standin::MethodRecord& method : registration.methods) methods.push_back(method.declaration);
    list.push_back({{"kind", KindName(registration.kind)},
                    {"name", registration.name},
                    {"recordVersion", registration.version},
                    {"methods", methods}});
  }
  return list;
}

void RunInfo(const Options& options) {
  const Session session(options);
  nlohmann::ordered_json info;
  info["library"] = session.LibraryPath();
  info["versionStamp"] = VersionStamp(session.LibraryPath());
  info["cpuLevel"] = CpuLevelName();
  info["mode"] = NameOf(options.mode);
  if (options.hostVersion)
    info["hostVersion"] = *options.hostVersion;
  else
    info["hostVersion"] = nullptr;
  info["registrations"] = Registered();
  if (options.json) {
    std::printf("%s\n", info.dump().c_str());
    return;
  }
  std::printf("library        %s\n", session.LibraryPath().c_str());
  std::printf("version stamp  %s\n", info["versionStamp"].get<std::string>().c_str());
  std::printf("cpu level      %s\n", info["cpuLevel"].get<std::string>().c_str());
  std::printf("host version   %s\n", options.hostVersion ? info["hostVersion"].dump().c_str() : "unknown");
  for (const nlohmann::ordered_json& registration : info["registrations"]) {
    std::printf("registered     %s %s (record version %d)\n", registration["kind"].get<std::string>().c_str(),
                registration["name"].get<std::string>().c_str(), registration["recordVersion"].get<int>());
    for (const nlohmann::ordered_json& method : registration["methods"])
      std::printf("    %s\n", method.get<std::string>().c_str());
  }
}

}  // namespace

std::function<void()> DefineInfo(Arguments&, Options& options) {
  return [&options] { RunInfo(options); };
}

}  // namespace tool
