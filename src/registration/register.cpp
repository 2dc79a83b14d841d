#include "registration/register.h"

#include <cstring>

#include "host/services.h"
#include "host/versions.h"
#include "registration/module_form.h"
#include "registration/old_layout.h"
#include "support/memory.h"

namespace pixmorph {
namespace {

constexpr std::uint32_t kInstanceBytesUnit = 16;

// Extensions and method arrays have to come as modules.
bool RuntimeWantsModules() {
  return RuntimeAtLeast(kVersionModuleRewrite) && !RuntimeAtLeast(kVersionModuleRewriteEnd);
}

// Brings a record into the runtime's layout, in place; false when memory is short.
template <class Record>
bool FitLayout(Record* record, void* (*oldLayoutOf)(const Record*), std::size_t oldBytes) {
  record->version = CurrentREALControlVersion;
  if (CurrentREALControlVersion > kOldestControlVersion) return true;
  void* old = oldLayoutOf(record);
  if (!old) return false;
  std::memcpy(static_cast<void*>(record), old, oldBytes);
  FreeMemoryNow(old);
  return true;
}

std::int32_t InstanceBytes(std::int32_t bytes) {
  const auto rounded =
      (static_cast<std::uint32_t>(bytes) + kInstanceBytesUnit - 1) & ~(kInstanceBytesUnit - 1);
  return static_cast<std::int32_t>(rounded);
}

}  // namespace

void MyREALRegisterClassExtension(REALclassDefinition* record) {
  if (RuntimeWantsModules()) {
    if (REALmoduleDefinition* module = ModuleOfExtension(*record)) MyREALRegisterModule(module);
    return;
  }
  if (FitLayout(record, FixClass, kOldClassBytes)) REALRegisterClassExtension(record);
}

void MyREALRegisterModule(REALmoduleDefinition* record) {
  if (FitLayout(record, FixModule, kOldModuleBytes)) REALRegisterModule(record);
}

void MyREALRegisterClass(REALclassDefinition* record) {
  record->dataSize = InstanceBytes(record->dataSize);
  if (FitLayout(record, FixClass, kOldClassBytes)) REALRegisterClass(record);
}

void MyREALRegisterInterface(REALinterfaceDefinition* record) {
  if (FitLayout(record, FixInterface, kOldInterfaceBytes)) REALRegisterInterface(record);
}

void MyREALRegisterControl(REALcontrol* record) {
  record->dataSize = InstanceBytes(record->dataSize);
  if (FitLayout(record, FixControl, kOldControlBytes)) REALRegisterControl(record);
}

void MyREALRegisterMethod(REALmethodDefinition* record) { REALRegisterMethod(record); }

void MyREALRegisterMethodArray(REALmethodDefinition* methods, int count) {
  if (RuntimeWantsModules()) {
    if (REALmoduleDefinition* module = ModuleOfMethods(methods, count)) MyREALRegisterModule(module);
    return;
  }
  for (int i = 0; i < count; ++i) MyREALRegisterMethod(methods + i);
}

}  // namespace pixmorph
