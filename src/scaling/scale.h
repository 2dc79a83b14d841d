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

// The step common to pictures with a mask and pictures with an alpha channel turned into a mask. The caller
// holds a reference to `picture` throughout and has set `yield` up; the source size decides whether both
// sides grow. [calls host] [may yield]
[[nodiscard]] REALpictureStruct* ResizeImageAndMaskInternal(REALpictureStruct* picture, int width, int height,
                                                            signed char antiAlias, int yieldTicks,
                                                            int sourceWidth, int sourceHeight);

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_SCALE_H_
