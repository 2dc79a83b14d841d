#include <cstring>

#include "standin/internal/service.h"
#include "standin/internal/state.h"
#include "standin/ledger.h"
#include "standin/registrations.h"

namespace standin {
namespace {

// How many words a record has, and where it keeps its methods.
struct Layout {
  RegistrationKind kind;
  const char* service;
  std::size_t currentWords;
  std::size_t oldWords;
  std::size_t methodsWord;  // rows; the count is the next word
};
constexpr Layout kClassExtensionLayout{RegistrationKind::kClassExtension, "PluginRegisterClassExtension", 32,
                                       25, 9};
constexpr Layout kClassLayout{RegistrationKind::kClass, "PluginRegisterClass", 32, 25, 9};
constexpr Layout kModuleLayout{RegistrationKind::kModule, "PluginRegisterModule", 24, 12, 2};
constexpr Layout kInterfaceLayout{RegistrationKind::kInterface, "PluginRegisterInterface", 4, 4, 2};
constexpr Layout kControlLayout{RegistrationKind::kControl, "PluginRegisterControl", 23, 23, 0};

constexpr int kLastOldVersion = 9;
constexpr std::size_t kMethodWords = 6;
constexpr std::size_t kOldMethodWords = 4;

template <class T>
T* Pointer(std::uint32_t word) {
  return reinterpret_cast<T*>(static_cast<std::uintptr_t>(word));
}

MethodRecord ReadMethod(const std::uint32_t* row, bool old) {
  MethodRecord method;
  method.function = Pointer<void>(row[0]);
  method.setter = Pointer<void>(row[1]);
  if (row[2] != 0) method.declaration = Pointer<const char>(row[2]);
  method.flags = row[3];
  if (!old) {
    method.attributeCount = row[4];
    method.attributes = Pointer<const void>(row[5]);
  }
  return method;
}

void Record(const void* record, const Layout& layout) {
  if (record == nullptr) StopRun(std::string(layout.service) + " was given no record");
  const auto* words = static_cast<const std::uint32_t*>(record);
  Registration entry{layout.kind, static_cast<int>(words[0]), {}, {}, record, {}};
  const bool old = entry.version <= kLastOldVersion;
  entry.words.assign(words, words + (old ? layout.oldWords : layout.currentWords));
  if (words[1] != 0) entry.name = Pointer<const char>(words[1]);
  if (layout.methodsWord != 0 && words[layout.methodsWord] != 0) {
    const auto* rows = Pointer<const std::uint32_t>(words[layout.methodsWord]);
    const auto count = static_cast<std::int32_t>(words[layout.methodsWord + 1]);
    const std::size_t stride = old ? kOldMethodWords : kMethodWords;
    for (std::int32_t i = 0; i < count; ++i) {
      entry.methods.push_back(ReadMethod(rows + static_cast<std::size_t>(i) * stride, old));
    }
  }
  TheState().registrations.push_back(std::move(entry));
}

void RegisterClassExtension(const void* record) { Record(record, kClassExtensionLayout); }
void RegisterClass(const void* record) { Record(record, kClassLayout); }
void RegisterModule(const void* record) { Record(record, kModuleLayout); }
void RegisterInterface(const void* record) { Record(record, kInterfaceLayout); }
void RegisterControl(const void* record) { Record(record, kControlLayout); }

// A method has no version word of its own; the one that the plugin reported at start-up holds.
void RegisterMethod(const void* record) {
  if (record == nullptr) StopRun("PluginRegisterMethod was given no record");
  const auto* words = static_cast<const std::uint32_t*>(record);
  const auto& reported = TheState().reportedVersions;
  const int version = reported.empty() ? kLastOldVersion + 1 : reported.back();
  const bool old = version <= kLastOldVersion;
  Registration entry{RegistrationKind::kMethod, version, {}, {}, record, {ReadMethod(words, old)}};
  entry.words.assign(words, words + (old ? kOldMethodWords : kMethodWords));
  TheState().registrations.push_back(std::move(entry));
}

void RegisterVersion(int version) { TheState().reportedVersions.push_back(version); }

bool Names(const MethodRecord& method, const std::string& name) {
  return method.declaration.substr(0, method.declaration.find_first_of("( ")) == name;
}

bool ExtendsPicture(const MethodRecord& method) {
  return method.declaration.find("(extends ref as Picture") != std::string::npos;
}

}  // namespace

const std::vector<Registration>& Registrations() { return TheState().registrations; }
const std::vector<int>& ReportedVersions() { return TheState().reportedVersions; }

std::optional<MethodRecord> FindPictureMethod(const std::string& name) {
  for (const Registration& entry : Registrations()) {
    const bool extension = entry.kind == RegistrationKind::kClassExtension && entry.name == "Picture";
    const bool module = entry.kind == RegistrationKind::kModule;
    if (!extension && !module) continue;
    for (const MethodRecord& method : entry.methods) {
      if (Names(method, name) && (extension || ExtendsPicture(method))) return method;
    }
  }
  return std::nullopt;
}

void DefineRegistrationServices() {
  Define<&RegisterClassExtension>(kClassExtensionLayout.service);
  Define<&RegisterClass>(kClassLayout.service);
  Define<&RegisterModule>(kModuleLayout.service);
  Define<&RegisterInterface>(kInterfaceLayout.service);
  Define<&RegisterControl>(kControlLayout.service);
  Define<&RegisterMethod>("PluginRegisterMethod");
  Define<&RegisterVersion>("RegisterPluginVersion");
}

}  // namespace standin
