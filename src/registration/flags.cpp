#include "registration/flags.h"

#include "host/versions.h"

namespace pixmorph {
namespace {

std::uint32_t HostFlags(std::uint32_t flags) {
  std::uint32_t added = 0;
  if (RuntimeAtLeast(kVersionConsoleFlags)) {
    if (flags & kFlagConsole) added |= kHostFlagConsole;
    if (flags & kFlagSecondConsole) added |= kHostFlagSecondConsole;
  }
  return (flags | added) & ~(kFlagConsole | kFlagSecondConsole | kFlagThirdConsole);
}

template <class Row>
void FixRows(Row* rows, int count) {
  if (!rows) return;
  for (int i = 0; i < count; ++i) rows[i].flags = HostFlags(rows[i].flags);
}

}  // namespace

void FixConsoleFlags(REALmethodDefinition* method) { FixRows(method, 1); }

void FixConsoleFlags(REALmethodDefinition* methods, int count) { FixRows(methods, count); }

void FixConsoleFlags(REALmoduleDefinition* module) {
  FixRows(module->methods, module->methodCount);
  FixRows(module->properties, module->propertyCount);
}

void FixConsoleFlags(REALclassDefinition* definition) {
  definition->flags = HostFlags(definition->flags);
  FixRows(definition->methods, definition->methodCount);
  FixRows(definition->sharedMethods, definition->sharedMethodCount);
  FixRows(definition->properties, definition->propertyCount);
  FixRows(definition->sharedProperties, definition->sharedPropertyCount);
}

}  // namespace pixmorph
