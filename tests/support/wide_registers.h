#ifndef PIXMORPH_TESTS_SUPPORT_WIDE_REGISTERS_H_
#define PIXMORPH_TESTS_SUPPORT_WIDE_REGISTERS_H_

#include <cpuid.h>

#include <cstdint>

namespace test {

// The register states in use, as bits of extended control register 0.
inline std::uint32_t AllStatesInUse() {
  std::uint32_t low, high;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(1));
  return low;
}

// Whether the processor, which has AVX, tells. Emulators may call all of them in use.
inline bool TellsStatesInUse() {
  unsigned int a = 0, b = 0, c = 0, d = 0;
  if (!__get_cpuid(1, &a, &b, &c, &d) || !(c & bit_OSXSAVE) || !(c & bit_AVX)) return false;
  if (!__get_cpuid_count(0xD, 1, &a, &b, &c, &d) || !(a & 4u)) return false;
  __asm__ volatile("vzeroupper");
  return (AllStatesInUse() & 4u) == 0;
}

// Leaves the first of them in use.
inline void UseWideRegisters() { __asm__ volatile("vcmptrueps %%ymm1, %%ymm1, %%ymm1" : : : "xmm1"); }

// Those of `states` that are in use once SSE instructions have run: where upper halves are not known to be
// unused, these instructions keep them.
inline std::uint32_t StatesInUse(std::uint32_t states) {
  __asm__ volatile("addpd %%xmm0, %%xmm1\n\tmovapd %%xmm1, %%xmm0" : : : "xmm0", "xmm1");
  return AllStatesInUse() & states;
}

}  // namespace test

#endif  // PIXMORPH_TESTS_SUPPORT_WIDE_REGISTERS_H_
