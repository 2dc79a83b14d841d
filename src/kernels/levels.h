#ifndef PIXMORPH_KERNELS_LEVELS_H_
#define PIXMORPH_KERNELS_LEVELS_H_

#include <cstdint>

// Instruction-set levels: which kernels run is decided once per process, from what the processor and the
// operating system offer. Every level gives the same bytes.
namespace pixmorph::kernels {

struct AreaAverageKernels;
struct SmoothEnlargeKernels;
struct ResampleKernels;
struct BlurKernels;
struct DrawKernels;
struct PackKernels;

enum class Level : std::uint8_t { kScalar, kSse2, kSse41, kAvx2, kAvx512 };
constexpr int kLevelCount = 5;

// One line per kernel family. A level without a variant of its own repeats the next slower one.
struct KernelTable {
  const char* name;  // "scalar", "sse2", "sse41", "avx2", "avx512": printed by tests, benchmarks and the tool
  Level level;
  std::uint32_t wideStates;  // that its kernels use beyond SSE's, as bits of extended control register 0
  const AreaAverageKernels* areaAverage;
  const SmoothEnlargeKernels* smoothEnlarge;
  const ResampleKernels* resample;
  const BlurKernels* blur;
  const DrawKernels* draw;
  const PackKernels* pack;
};

// The table in use. An operation takes it once, at its top, and passes it down.
const KernelTable& Kernels();

// The table of one level, whether or not this processor can run it. [pure]
const KernelTable& TableOf(Level level);

// The best level that this processor and operating system can run.
Level BestLevel();

// For tests and benchmarks, which link the core: makes `Kernels` give this level's table from now on. False,
// changing nothing, when the processor can't run it. Nothing in the plugin calls this.
bool ForceLevel(Level level);

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_LEVELS_H_
