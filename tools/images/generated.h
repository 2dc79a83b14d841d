#ifndef PIXMORPH_TOOLS_IMAGES_GENERATED_H_
#define PIXMORPH_TOOLS_IMAGES_GENERATED_H_

#include "tools/images/image.h"

// Pictures for those who have none at hand: the same on every machine.
namespace tool {

// Soft colours, rings that grow finer from the centre, and some grain: what a photograph asks of a method.
// [pure]
Image GeneratedPhoto(const Size& size);

// A disc that fades out at its rim, on transparent ground. [pure]
Image GeneratedBadge(std::int32_t side);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_IMAGES_GENERATED_H_
