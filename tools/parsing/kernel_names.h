#ifndef PIXMORPH_TOOLS_PARSING_KERNEL_NAMES_H_
#define PIXMORPH_TOOLS_PARSING_KERNEL_NAMES_H_

#include <array>
#include <string>
#include <string_view>

namespace tool {

// One resampling kernel of ScalingKTZ.
struct KernelRow {
  int mode;
  const char* name;
  const char* support;  // source pixels to each side of the centre when enlarging
  const char* shape;
  const char* bestFor;
  const char* aliases;  // other names of the very same kernel, with blanks between them
};

constexpr int kKernelCount = 7;
// In the order of their modes, 1 to 7.
const std::array<KernelRow, kKernelCount>& KernelRows();

// The kernel that a name, an alias or a number means; capitals, '-', '_' and blanks don't matter. Throws
// Failure (kUsage) with the nearest name, or with what to take instead of a kernel that there isn't. [pure]
const KernelRow& ParseKernel(std::string_view text);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_PARSING_KERNEL_NAMES_H_
