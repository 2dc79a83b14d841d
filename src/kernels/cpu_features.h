#ifndef PIXMORPH_KERNELS_CPU_FEATURES_H_
#define PIXMORPH_KERNELS_CPU_FEATURES_H_

#include <cstdint>

namespace pixmorph::kernels {

// One bit per feature that a level may need; a bit is set only when the operating system saves the state too.
enum CpuFeature : std::uint32_t {
  kFeatureSse2 = 1u << 0,
  kFeatureSsse3 = 1u << 1,
  kFeatureSse41 = 1u << 2,
  kFeatureAvx2 = 1u << 3,
  kFeatureFma = 1u << 4,
  kFeatureAvx512F = 1u << 5,
  kFeatureAvx512Bw = 1u << 6,
  kFeatureAvx512Dq = 1u << 7,
  kFeatureAvx512Vl = 1u << 8,
  kFeatureAvx512Vbmi = 1u << 9,
  kFeatureAvx512Vnni = 1u << 10,
};

constexpr std::uint32_t kNeedsSse2 = kFeatureSse2;
constexpr std::uint32_t kNeedsSse41 = kNeedsSse2 | kFeatureSsse3 | kFeatureSse41;
constexpr std::uint32_t kNeedsAvx2 = kNeedsSse41 | kFeatureAvx2 | kFeatureFma;
constexpr std::uint32_t kNeedsAvx512 = kNeedsAvx2 | kFeatureAvx512F | kFeatureAvx512Bw | kFeatureAvx512Dq |
                                       kFeatureAvx512Vl | kFeatureAvx512Vbmi | kFeatureAvx512Vnni;

// Register states, as bits of extended control register 0.
constexpr std::uint32_t kSseState = 1u << 1;
constexpr std::uint32_t kAvxState = 1u << 2;      // upper halves of YMM registers
constexpr std::uint32_t kAvx512States = 7u << 5;  // mask registers and both parts of ZMM ones

// Reads cpuid and the operating system's saved state (xgetbv).
std::uint32_t DetectCpuFeatures();

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_CPU_FEATURES_H_
