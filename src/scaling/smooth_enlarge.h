#ifndef PIXMORPH_SCALING_SMOOTH_ENLARGE_H_
#define PIXMORPH_SCALING_SMOOTH_ENLARGE_H_

#include "host/types.h"
#include "support/owned.h"

namespace pixmorph {

// A new picture of the given size, both sides larger than the picture's, interpolated along a smooth curve
// between the two nearest pixels on each axis; every byte of a pixel, the top one too. Between a three-byte
// and a four-byte layout colours go to colours, and a missing top byte becomes 0xFF. One reference for the
// caller, or nil when the source can't be read, is not smaller than the result on both sides, the result
// can't be made, or memory is short. Yields through the shared `yield`, which the caller has set up: three
// times for the tables, then once per row and byte of a source pixel. [calls host] [may yield]
//
// `kept`, when not null, receives a reference of the caller's own to `picture` where the result is nil
// although script code may have run meanwhile: the picture can then be used once more.
[[nodiscard]] REALpictureStruct* ResizeSmoothEnlarge(REALpictureStruct* picture, int newWidth, int newHeight,
                                                     PictureRef* kept = nullptr);

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_SMOOTH_ENLARGE_H_
