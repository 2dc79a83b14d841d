#include "kernels/levels.h"

#include "kernels/cpu_features.h"

namespace pixmorph::kernels {

#define PIXMORPH_LEVELS_OF(Kernels, Name) \
  extern const Kernels k##Name##Scalar, k##Name##Sse2, k##Name##Sse41, k##Name##Avx2, k##Name##Avx512
PIXMORPH_LEVELS_OF(AreaAverageKernels, AreaAverage);
PIXMORPH_LEVELS_OF(SmoothEnlargeKernels, SmoothEnlarge);
PIXMORPH_LEVELS_OF(ResampleKernels, Resample);
PIXMORPH_LEVELS_OF(BlurKernels, Blur);
PIXMORPH_LEVELS_OF(DrawKernels, Draw);
PIXMORPH_LEVELS_OF(PackKernels, Pack);
#undef PIXMORPH_LEVELS_OF

namespace {

#define PIXMORPH_TABLE(name, Suffix, states)                                                               \
  {                                                                                                        \
    name, Level::k##Suffix, states, &kAreaAverage##Suffix, &kSmoothEnlarge##Suffix, &kResample##Suffix,    \
        &kBlur##Suffix, &kDraw##Suffix, &kPack##Suffix                                                     \
  }
constexpr KernelTable kTables[kLevelCount] = {
    PIXMORPH_TABLE("scalar", Scalar, 0),
    PIXMORPH_TABLE("sse2", Sse2, 0),
    PIXMORPH_TABLE("sse41", Sse41, 0),
    PIXMORPH_TABLE("avx2", Avx2, kAvxState),
    PIXMORPH_TABLE("avx512", Avx512, kAvxState | kAvx512States),
};
#undef PIXMORPH_TABLE

// Set once, on the first operation of the process.
const KernelTable* gTable = nullptr;

}  // namespace

const KernelTable& TableOf(Level level) { return kTables[static_cast<int>(level)]; }

Level BestLevel() {
  const std::uint32_t have = DetectCpuFeatures();
  const auto has = [have](std::uint32_t needed) { return (have & needed) == needed; };
  if (has(kNeedsAvx512)) return Level::kAvx512;
  if (has(kNeedsAvx2)) return Level::kAvx2;
  if (has(kNeedsSse41)) return Level::kSse41;
  if (has(kNeedsSse2)) return Level::kSse2;
  return Level::kScalar;
}

const KernelTable& Kernels() {
  if (!gTable) gTable = &TableOf(BestLevel());
  return *gTable;
}

bool ForceLevel(Level level) {
  if (level > BestLevel()) return false;
  gTable = &TableOf(level);
  return true;
}

}  // namespace pixmorph::kernels
