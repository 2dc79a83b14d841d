#ifndef PIXMORPH_SCALING_SCALE_H_
#define PIXMORPH_SCALING_SCALE_H_

#include "host/entry.h"
#include "host/types.h"

namespace pixmorph {

// ScaleKTZ: `self` resized to `width` x `height` pixels, by area averaging, or by smooth enlargement when
// `antiAlias` is true and both sides grow. Equal size: `self` with one more reference. nil on failure; the
// one reference of the result is the caller's. `yieldTicks`: see `YieldData`. [calls host] [may yield]
HOST_ENTRY REALpictureStruct* PictureResizeKTZ(REALpictureStruct* self, int width, int height,
                                               signed char antiAlias, int yieldTicks);

// ScaleImageAndMaskKTZ: the same for the image and its mask; an alpha channel becomes a mask.
HOST_ENTRY REALpictureStruct* PictureResizeImageAndMaskKTZ(REALpictureStruct* self, int width, int height,
                                                           signed char antiAlias, int yieldTicks);

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_SCALE_H_
