#include "tools/run/emulator.h"

#include <cpuid.h>

#include <cstring>

namespace tool {
namespace {

// Where hypervisors and emulators name themselves.
constexpr unsigned kSignatureLeaf = 0x40000000;

}  // namespace

bool RunsOnEmulator() {
  unsigned eax = 0;
  unsigned signature[3] = {};
  __cpuid(kSignatureLeaf, eax, signature[0], signature[1], signature[2]);
  return std::memcmp(signature, "TCGTCGTCGTCG", sizeof signature) == 0;
}

}  // namespace tool
