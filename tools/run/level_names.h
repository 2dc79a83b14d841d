#ifndef PIXMORPH_TOOLS_RUN_LEVEL_NAMES_H_
#define PIXMORPH_TOOLS_RUN_LEVEL_NAMES_H_

#include "kernels/levels.h"

namespace tool {

// The kernels that this processor runs: "scalar", "sse2" and so on. [pure]
inline const char* CpuLevelName() {
  constexpr const char* kNames[pixmorph::kernels::kLevelCount] = {"scalar", "sse2", "sse41", "avx2",
                                                                  "avx512"};
  return kNames[static_cast<int>(pixmorph::kernels::BestLevel())];
}

}  // namespace tool

#endif  // PIXMORPH_TOOLS_RUN_LEVEL_NAMES_H_
