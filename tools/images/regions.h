#ifndef PIXMORPH_TOOLS_IMAGES_REGIONS_H_
#define PIXMORPH_TOOLS_IMAGES_REGIONS_H_

#include <cstdint>

#include "tools/images/image.h"

// Squares of a picture, for showing them side by side.
namespace tool {

struct Corner {
  std::int32_t x = 0;
  std::int32_t y = 0;
};

// `side`, or less where the picture is smaller. [pure]
std::int32_t FittingSide(const Image& image, std::int32_t side);

// The top left corner of the square with the most detail, looked for in steps. `side` fits into the picture.
// [pure]
Corner BusiestSquare(const Image& image, std::int32_t side);

// A square of the picture, inside it as a whole. [pure]
Image Cropped(const Image& image, const Corner& corner, std::int32_t side);

// The picture with an alpha channel that fades out towards an ellipse. [pure]
Image Faded(Image image);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_IMAGES_REGIONS_H_
