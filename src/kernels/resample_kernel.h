#ifndef PIXMORPH_KERNELS_RESAMPLE_KERNEL_H_
#define PIXMORPH_KERNELS_RESAMPLE_KERNEL_H_

#include <cstdint>

#include "kernels/contribution.h"
#include "kernels/pixel_layout.h"

// Filtered resampling: weighted sums along a row, then along the columns of an 8-bit intermediate.
namespace pixmorph::kernels {

namespace ref {

// One output channel from its weighted sum: trunc(sum / weightSum + 0.5) clamped to a byte; 0 when the
// quotient is not a finite number. [pure]
std::uint8_t ResampledChannel(double sum, float weightSum);

// One row of the intermediate: `count` words 0x00RRGGBB from `count` lists over the pixels of `source`. Sums
// are plain doubles in the order of the taps. Reads only pixels that the lists name. [pure]
void ResampleAlongRow(std::uint32_t* out, const ContributionList* lists, std::int32_t count,
                      const std::uint8_t* source, PixelLayout layout);

// One row of the result: `width` pixels in `layout` from one list over the rows of the intermediate, which is
// `width` words wide. A list without entries counts as empty. [pure]
void ResampleAlongColumns(std::uint8_t* out, PixelLayout layout, const ContributionList& list,
                          const std::uint32_t* intermediate, std::int32_t width);

}  // namespace ref

struct ResampleKernels {
  void (*alongRow)(std::uint32_t* out, const ContributionList* lists, std::int32_t count,
                   const std::uint8_t* source, PixelLayout layout);
  void (*alongColumns)(std::uint8_t* out, PixelLayout layout, const ContributionList& list,
                       const std::uint32_t* intermediate, std::int32_t width);
};

extern const ResampleKernels kResampleScalar, kResampleSse2, kResampleSse41, kResampleAvx2, kResampleAvx512;

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_KERNEL_H_
