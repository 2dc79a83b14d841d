#ifndef PIXMORPH_EFFECTS_BLUR_H_
#define PIXMORPH_EFFECTS_BLUR_H_

#include "host/entry.h"
#include "host/types.h"

namespace pixmorph {

// BlurKTZ: `pic` blurred with a box of 2r + 1 pixels a side, r the whole part of `radius`. nil on failure;
// the one reference of the result is the caller's. `yield`: see `YieldData`. [calls host] [may yield]
HOST_ENTRY REALpictureStruct* BlurKTZ(REALpictureStruct* pic, double radius, int yield);

}  // namespace pixmorph

#endif  // PIXMORPH_EFFECTS_BLUR_H_
