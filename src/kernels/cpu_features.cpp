#include "kernels/cpu_features.h"

#include <cpuid.h>

namespace pixmorph::kernels {
namespace {

struct Registers {
  unsigned int eax, ebx, ecx, edx;
};

bool Query(unsigned int leaf, Registers* r) {
  return __get_cpuid_count(leaf, 0, &r->eax, &r->ebx, &r->ecx, &r->edx) != 0;
}

// Extended control register 0: which register states the operating system saves on a task switch.
std::uint32_t SavedStates() {
  std::uint32_t low, high;
  __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return low;
}

constexpr std::uint32_t kSavesAvx = kSseState | kAvxState;
constexpr std::uint32_t kSavesAvx512 = kSavesAvx | kAvx512States;

std::uint32_t If(bool condition, std::uint32_t feature) { return condition ? feature : 0; }

std::uint32_t Avx512Features(const Registers& r) {
  return If(r.ebx & bit_AVX512F, kFeatureAvx512F) | If(r.ebx & bit_AVX512BW, kFeatureAvx512Bw) |
         If(r.ebx & bit_AVX512DQ, kFeatureAvx512Dq) | If(r.ebx & bit_AVX512VL, kFeatureAvx512Vl) |
         If(r.ecx & bit_AVX512VBMI, kFeatureAvx512Vbmi) | If(r.ecx & bit_AVX512VNNI, kFeatureAvx512Vnni);
}

}  // namespace

std::uint32_t DetectCpuFeatures() {
  Registers basic{}, extended{};
  if (!Query(1, &basic)) return 0;
  std::uint32_t found = If(basic.edx & bit_SSE2, kFeatureSse2) | If(basic.ecx & bit_SSSE3, kFeatureSsse3) |
                        If(basic.ecx & bit_SSE4_1, kFeatureSse41);
  const std::uint32_t saved = basic.ecx & bit_OSXSAVE ? SavedStates() : 0;
  if ((saved & kSavesAvx) != kSavesAvx || !(basic.ecx & bit_AVX) || !Query(7, &extended)) return found;
  found |= If(extended.ebx & bit_AVX2, kFeatureAvx2) | If(basic.ecx & bit_FMA, kFeatureFma);
  if ((saved & kSavesAvx512) == kSavesAvx512) found |= Avx512Features(extended);
  return found;
}

}  // namespace pixmorph::kernels
