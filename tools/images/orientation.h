#ifndef PIXMORPH_TOOLS_IMAGES_ORIENTATION_H_
#define PIXMORPH_TOOLS_IMAGES_ORIENTATION_H_

#include <cstddef>
#include <cstdint>

#include "tools/images/image.h"

namespace tool {

// The orientation tag, 1 to 8, of a camera's Exif record (the payload of a JPEG APP1 marker); 1, upright,
// when there is none or the record is damaged. [pure]
int ExifOrientation(const std::uint8_t* data, std::size_t length);

// The picture as it is meant to be seen: turned and mirrored from how the camera stored it. [pure]
Image Upright(Image image, int orientation);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_IMAGES_ORIENTATION_H_
