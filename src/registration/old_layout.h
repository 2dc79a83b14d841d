#ifndef PIXMORPH_REGISTRATION_OLD_LAYOUT_H_
#define PIXMORPH_REGISTRATION_OLD_LAYOUT_H_

#include "host/types.h"

// Records for runtimes of record layout 9, whose records and rows are shorter.
namespace pixmorph {

constexpr std::size_t kOldClassBytes = 100;
constexpr std::size_t kOldModuleBytes = 48;
constexpr std::size_t kOldInterfaceBytes = 16;
constexpr std::size_t kOldControlBytes = 92;

// A copy of the record in the old layout, with `CurrentREALControlVersion` and row lists of its own; the
// caller's
// (`FreeMemoryNow`), the row lists stay allocated for the runtime. Source event rows get the address of their
// copy in their second word (`REALGetEventInstance`). Null when memory is short.
[[nodiscard]] void* FixClass(const REALclassDefinition* record);
[[nodiscard]] void* FixModule(const REALmoduleDefinition* record);
[[nodiscard]] void* FixInterface(const REALinterfaceDefinition* record);
[[nodiscard]] void* FixControl(const REALcontrol* record);

}  // namespace pixmorph

#endif  // PIXMORPH_REGISTRATION_OLD_LAYOUT_H_
