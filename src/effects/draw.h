#ifndef PIXMORPH_EFFECTS_DRAW_H_
#define PIXMORPH_EFFECTS_DRAW_H_

#include <cstdint>

#include "host/entry.h"
#include "host/types.h"

namespace pixmorph {

// The method DrawPictureFKTZ: draws `picture` into `destination` with its top left corner at (x, y), in
// destination pixels and fractions of them, at opacity `alpha` and through the picture's mask (black shows,
// white hides). Every destination pixel is written: those that nothing reaches keep their colour. True when
// it was done, also when nothing of the picture lies inside; false, with nothing drawn, when one of the
// pictures can't be opened. nil pictures raise a NilObjectException and give false. `yieldInterval` as in
// `YieldData::interval`. [calls host] [may yield]
HOST_ENTRY bool DrawPictureF(REALpictureStruct* destination, REALpictureStruct* picture, double x, double y,
                             double alpha, std::int32_t yieldInterval);

}  // namespace pixmorph

#endif  // PIXMORPH_EFFECTS_DRAW_H_
