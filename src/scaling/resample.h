#ifndef PIXMORPH_SCALING_RESAMPLE_H_
#define PIXMORPH_SCALING_RESAMPLE_H_

#include "host/entry.h"
#include "host/types.h"

namespace pixmorph {

// ScalingKTZ: `pic` resampled to `width` x `height` pixels with the filter of `mode`, 1 to 7. nil for any
// other mode, for nil, for a side below 1 and on failure; the one reference of the result is the caller's.
// `yield`: see `YieldData`. [calls host] [may yield]
HOST_ENTRY REALpictureStruct* PictureScalingKTZ(REALpictureStruct* pic, int mode, int width, int height,
                                                int yield);

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_RESAMPLE_H_
