#ifndef PIXMORPH_TESTS_SUPPORT_WIDE_REGISTERS_H_
#define PIXMORPH_TESTS_SUPPORT_WIDE_REGISTERS_H_

#include <cpuid.h>

#include <cstdint>

namespace test {

// Whether the processor tells which register states are in use.
inline bool TellsStatesInUse() {
  unsigned int a = 0, b = 0, c = 0, d = 0;
  if (!__get_cpuid(1, &a, &b, &c, &d) || !(c & bit_OSXSAVE)) return false;
  return __get_cpuid_count(0xD, 1, &a, &b, &c, &d) && (a & 4u);
}

// Those of `states` (bits of extended control register 0) that are in use once SSE instructions have run:
// where upper halves are not known to be unused, these instructions keep them.
inline std::uint32_t StatesInUse(std::uint32_t states) {
  std::uint32_t low, high;
  __asm__ volatile("addpd %%xmm0, %%xmm1\n\tmovapd %%xmm1, %%xmm0" : : : "xmm0", "xmm1");
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(1));
  return low & states;
}

}  // namespace test

#endif  // PIXMORPH_TESTS_SUPPORT_WIDE_REGISTERS_H_
