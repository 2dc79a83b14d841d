#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What the plugin registered, as it arrived.
namespace standin {

enum class RegistrationKind { kClassExtension, kModule, kClass, kInterface, kControl, kMethod };

struct MethodRecord {
  void* function = nullptr;
  void* setter = nullptr;
  std::string declaration;
  std::uint32_t flags = 0;
  std::uint32_t attributeCount = 0;  // 0 in the old layout
  const void* attributes = nullptr;  // null in the old layout
};

struct Registration {
  RegistrationKind kind;
  // Record version: 9 and below means the old layout.
  int version = 0;
  std::string name;  // of the class, module, ...; empty for a single method
  // The words of the record, copied at registration; as many as the layout in use has.
  std::vector<std::uint32_t> words;
  const void* record = nullptr;  // the plugin's own, as passed
  std::vector<MethodRecord> methods;
};

const std::vector<Registration>& Registrations();
// The argument of each "RegisterPluginVersion" call, in order.
const std::vector<int>& ReportedVersions();

// The method of that name on pictures, as script code finds it: in a class extension of "Picture", or in a
// module as a method that extends Picture.
std::optional<MethodRecord> FindPictureMethod(const std::string& name);

}  // namespace standin
