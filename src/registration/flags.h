#ifndef PIXMORPH_REGISTRATION_FLAGS_H_
#define PIXMORPH_REGISTRATION_FLAGS_H_

#include "host/types.h"

// Records are written with the plugin's own console flags, which older runtimes know nothing of.
namespace pixmorph {

constexpr std::uint32_t kFlagConsole = 0x40000;  // available in console applications
constexpr std::uint32_t kFlagSecondConsole = 0x80000;
constexpr std::uint32_t kFlagThirdConsole = 0x100000;
constexpr std::uint32_t kHostFlagConsole = 0x4;
constexpr std::uint32_t kHostFlagSecondConsole = 0x8;
constexpr std::uint32_t kHostFlagModuleMethod = 0x10;

// Turns the plugin's console flags of a record and its rows into the runtime's, in place: they become host
// flags from 2010.029 on and vanish before. Null lists and counts below 1 are skipped.
void FixConsoleFlags(REALmethodDefinition* method);
void FixConsoleFlags(REALmethodDefinition* methods, int count);
void FixConsoleFlags(REALmoduleDefinition* module);
void FixConsoleFlags(REALclassDefinition* definition);

}  // namespace pixmorph

#endif  // PIXMORPH_REGISTRATION_FLAGS_H_
