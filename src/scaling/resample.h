#ifndef PIXMORPH_SCALING_RESAMPLE_H_
#define PIXMORPH_SCALING_RESAMPLE_H_

#include <cstdint>

#include "host/entry.h"
#include "host/types.h"

// Filtered resampling: a new picture of any size by a separable convolution, first along the rows into an
// 8-bit intermediate of the new width, then along its columns. Transparency is not carried over: the result
// is opaque.
namespace pixmorph {

// The method "ScalingKTZ": the picture resized with the filter of `mode` (1 .. 7). nil for a nil picture, a
// side below 1 or another mode. The result's one reference is the caller's. [calls host] [may yield]
HOST_ENTRY REALpictureStruct* PictureScalingKTZ(REALpictureStruct* pic, std::int32_t mode, std::int32_t width,
                                                std::int32_t height, std::int32_t interval);

// The seven instances of the engine, one per filter. nil when the source can't be read, the result can't be
// made or the intermediate or a weight table can't be had; a column or row whose own weights can't be had
// comes out black. `interval` is that of the call's own YieldData. [calls host] [may yield]
using ResampleInstance = REALpictureStruct*(REALpictureStruct* pic, std::int32_t width, std::int32_t height,
                                            std::int32_t interval);
ResampleInstance triangleResampleDouble;
ResampleInstance boxResampleDouble;
ResampleInstance lanczos3ResampleDouble;
ResampleInstance lanczos8ResampleDouble;
ResampleInstance mitchellResampleDouble;
ResampleInstance poly3ResampleDouble;
ResampleInstance cubicResampleDouble;

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_RESAMPLE_H_
