#ifndef PIXMORPH_EFFECTS_DRAW_H_
#define PIXMORPH_EFFECTS_DRAW_H_

#include "host/entry.h"
#include "host/types.h"

namespace pixmorph {

// DrawPictureFKTZ: draws `pic` into `dest` with its top-left corner at (`x`, `y`), with opacity `alpha` and
// the mask of `pic`. True when it was drawn; raises NilObjectException and gives false for nil pictures.
// `yield`: see `YieldData`. [calls host] [may yield]
HOST_ENTRY bool DrawPictureF(REALpictureStruct* dest, REALpictureStruct* pic, double x, double y,
                             double alpha, int yield);

}  // namespace pixmorph

#endif  // PIXMORPH_EFFECTS_DRAW_H_
