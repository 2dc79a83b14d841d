#include "registration/module_form.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "host/versions.h"
#include "registration/declarations.h"
#include "registration/flags.h"
#include "registration/plugin_identity.h"
#include "support/numeric.h"
#include "support/owned.h"

namespace pixmorph {
namespace {

constexpr std::size_t kNameBytes = 100;

using Rows = WorkBuffer<REALmethodDefinition>;

Rows AllocateRows(int count) { return Rows(ByteSize(count).Times(sizeof(REALmethodDefinition)).Bytes()); }

// Takes over the rows; null when memory is short.
REALmoduleDefinition* NewModule(const char* name, Rows& rows, int count) {
  WorkBuffer<REALmoduleDefinition> module(sizeof(REALmoduleDefinition));
  char* keptName = strdup(name);
  if (!module || !keptName) {
    std::free(keptName);
    return nullptr;
  }
  module[0].version = kNewestControlVersion;
  module[0].name = keptName;
  module[0].methods = rows.Detach();
  module[0].methodCount = count;
  return module.Detach();
}

// How many rows a class's methods make: one per getter or method, one per setter.
int CountRows(const REALclassDefinition& extension) {
  int count = 0;
  for (int i = 0; i < extension.methodCount; ++i) {
    if (extension.methods[i].setter) ++count;
    if (extension.methods[i].function) ++count;
  }
  return count;
}

REALmethodDefinition GlobalMethod(const REALmethodDefinition& method, void* function, char* declaration) {
  REALmethodDefinition row = method;
  row.function = function;
  row.setter = nullptr;
  row.declaration = declaration;
  row.flags |= kHostFlagModuleMethod;
  return row;
}

void FillRows(const REALclassDefinition& extension, REALmethodDefinition* row) {
  for (int i = 0; i < extension.methodCount; ++i) {
    const REALmethodDefinition& method = extension.methods[i];
    if (method.setter)
      *row++ =
          GlobalMethod(method, method.setter, AddClassParameterAssign(method.declaration, extension.name));
    if (method.function)
      *row++ = GlobalMethod(method, method.function, AddClassParameter(method.declaration, extension.name));
  }
}

bool AllDeclared(const Rows& rows, int count) {
  for (int i = 0; i < count; ++i)
    if (!rows[i].declaration) return false;
  return true;
}

void FreeDeclarations(const Rows& rows, int count) {
  for (int i = 0; i < count; ++i) std::free(const_cast<char*>(rows[i].declaration));
}

}  // namespace

REALmoduleDefinition* ModuleOfExtension(const REALclassDefinition& extension) {
  if (extension.methodCount <= 0 || !extension.methods) return nullptr;
  char name[kNameBytes];
  std::snprintf(name, sizeof name, "%s%s%s", extension.name, gpartname, "ExtensionKTZ");
  const int count = CountRows(extension);
  Rows rows = AllocateRows(count);
  if (!rows) return nullptr;
  FillRows(extension, rows.Get());
  REALmoduleDefinition* module = AllDeclared(rows, count) ? NewModule(name, rows, count) : nullptr;
  if (!module) FreeDeclarations(rows, count);
  return module;
}

REALmoduleDefinition* ModuleOfMethods(const REALmethodDefinition* methods, int count) {
  char name[kNameBytes];
  std::snprintf(name, sizeof name, "%s%s", gpartname, "GlobalsKTZ");
  Rows rows = AllocateRows(count);
  if (!rows) return nullptr;
  for (int i = 0; i < count; ++i) {
    rows[i] = methods[i];
    rows[i].flags |= kHostFlagModuleMethod;
  }
  return NewModule(name, rows, count);
}

}  // namespace pixmorph
