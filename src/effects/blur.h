#ifndef PIXMORPH_EFFECTS_BLUR_H_
#define PIXMORPH_EFFECTS_BLUR_H_

#include <cstdint>

#include "host/entry.h"
#include "host/types.h"

namespace pixmorph {

// The method BlurKTZ: a new picture of the same size without alpha channel and mask, each pixel the truncated
// average of the square of 2 * r + 1 pixels a side around it, r the whole part of `radius` (pixels), taken
// down the columns first and then along the rows. One reference for the caller. A radius below 1 or not a
// number gives `picture` itself, with one more reference. nil when the picture can't be read or the new one
// can't be made; where memory for the work is short, the new picture comes back as the runtime made it.
// `yieldInterval` as in `YieldData::interval`. [calls host] [may yield]
HOST_ENTRY REALpictureStruct* BlurKTZ(REALpictureStruct* picture, double radius, std::int32_t yieldInterval);

}  // namespace pixmorph

#endif  // PIXMORPH_EFFECTS_BLUR_H_
