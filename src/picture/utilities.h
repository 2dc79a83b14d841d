#ifndef PIXMORPH_PICTURE_UTILITIES_H_
#define PIXMORPH_PICTURE_UTILITIES_H_

#include <cstdint>

#include "host/types.h"

// Pictures as objects of the runtime. Sizes are in pixels; every picture returned carries one reference for
// the caller and is nil on failure. A picture that is returned but has a runtime service throw on the way is
// released.
namespace pixmorph {

// Largest side of a plain picture.
constexpr std::int32_t kLargestSide = 32767;
constexpr std::int32_t kPictureDepth = 32;

// 0 for nil and when the property cannot be read. [calls host]
[[nodiscard]] std::int32_t GetPictureWidth(REALpictureStruct* picture);
[[nodiscard]] std::int32_t GetPictureHeight(REALpictureStruct* picture);
// False for nil and when the property cannot be read. [calls host]
[[nodiscard]] bool PictureHasAlphaChannel(REALpictureStruct* picture);

// A picture with an alpha channel, sides 1 and up; nil on runtimes without such pictures. [calls host]
[[nodiscard]] REALpictureStruct* NewPictureWithAlphaChannel(std::int32_t width, std::int32_t height);
// Sides 1 .. `kLargestSide`. With an alpha channel when the flag is set and one can be had, else plain.
// [calls host]
[[nodiscard]] REALpictureStruct* NewPicture(std::int32_t width, std::int32_t height,
                                            signed char alphaChannel);

// The same picture with one more reference. [calls host]
[[nodiscard]] REALpictureStruct* BitmapPicture(REALpictureStruct* picture);

// A new plain picture of that size with the top left part of `picture` drawn in, or with nothing drawn in
// when the runtime gives no graphics object. The mask is left behind. [calls host]
[[nodiscard]] REALpictureStruct* ClonePicture(REALpictureStruct* picture, std::int32_t width,
                                              std::int32_t height);
[[nodiscard]] REALpictureStruct* ClonePicture(REALpictureStruct* picture);

// The same together with the mask, where there is one. [calls host]
[[nodiscard]] REALpictureStruct* ClonePictureWithMask(REALpictureStruct* picture, std::int32_t width,
                                                      std::int32_t height);
[[nodiscard]] REALpictureStruct* ClonePictureWithMask(REALpictureStruct* picture);

// A new plain picture with the pixels of `picture` and with what the runtime makes of its alpha channel as
// mask. [calls host]
[[nodiscard]] REALpictureStruct* ConvertToPictureWithMask(REALpictureStruct* picture, std::int32_t width,
                                                          std::int32_t height);

// A new picture: what hides `picture`, from its mask or its alpha channel. [calls host]
[[nodiscard]] REALpictureStruct* CopyMask(REALpictureStruct* picture);
// Makes `mask` the mask of `picture`; the runtime keeps its own reference or copy. False when either is nil
// or the runtime has no such method. [calls host]
bool AssignMask(REALpictureStruct* picture, REALpictureStruct* mask);

// Draws the source rectangle (sx, sy, sw, sh) into the rectangle (x, y, w, h) of `destination`, whose
// graphics object is `graphics`: by the runtime's own method, or where it has none by `OwnCopy`. [calls host]
bool GraphicsDrawPicture(REALgraphicsStruct* graphics, REALpictureStruct* destination,
                         REALpictureStruct* source, std::int32_t x, std::int32_t y, std::int32_t w,
                         std::int32_t h, std::int32_t sx, std::int32_t sy, std::int32_t sw, std::int32_t sh);
bool GraphicsDrawPicture(REALpictureStruct* destination, REALpictureStruct* source, std::int32_t x,
                         std::int32_t y, std::int32_t w, std::int32_t h, std::int32_t sx, std::int32_t sy,
                         std::int32_t sw, std::int32_t sh);

// Copies all rows from one runtime bitmap to another of the same size. Only for whole pictures: no offset, no
// scaling. False when nothing was copied. [calls host]
bool OwnCopy(REALpictureStruct* destination, REALpictureStruct* source, std::int32_t x, std::int32_t y,
             std::int32_t w, std::int32_t h, std::int32_t sx, std::int32_t sy, std::int32_t sw,
             std::int32_t sh);

}  // namespace pixmorph

#endif  // PIXMORPH_PICTURE_UTILITIES_H_
