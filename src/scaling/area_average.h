#ifndef PIXMORPH_SCALING_AREA_AVERAGE_H_
#define PIXMORPH_SCALING_AREA_AVERAGE_H_

#include "host/types.h"

namespace pixmorph {

// A new picture of the given size, each pixel the truncated mean of a box of source pixels; an enlarged side
// repeats pixels. One reference for the caller, or nil when the source can't be read or the result can't be
// made. Colours only; a result with an alpha channel is opaque. Yields through the shared `yield`, which the
// caller has set up: after each row and once at the end. [calls host] [may yield]
[[nodiscard]] REALpictureStruct* ResizeAreaAverage(REALpictureStruct* source, int newWidth, int newHeight);

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_AREA_AVERAGE_H_
