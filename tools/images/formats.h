#ifndef PIXMORPH_TOOLS_IMAGES_FORMATS_H_
#define PIXMORPH_TOOLS_IMAGES_FORMATS_H_

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/images/image.h"

// The two file formats. Decoders take a whole file in memory and throw Failure naming `name`: kFormat for a
// damaged one, kSize and kMemory for one that is too large. Encoders write to an open file and throw Failure
// (kOutput) without closing it.
namespace tool {

using FileBytes = std::vector<std::uint8_t>;

bool LooksLikePng(const FileBytes& bytes);
bool LooksLikeJpeg(const FileBytes& bytes);

// Any PNG: grey, palette, 16 bits per channel, interlaced; transparency of any kind becomes the alpha
// channel.
Image DecodePng(const std::string& name, const FileBytes& bytes);

// Any baseline or progressive JPEG: grey, colour, CMYK; turned upright as its orientation tag says.
Image DecodeJpeg(const std::string& name, const FileBytes& bytes);

// With an alpha channel only when the image has one.
void EncodePng(const std::string& name, std::FILE* file, const Image& image);

// `quality` 1 to 100; transparency is laid over white.
void EncodeJpeg(const std::string& name, std::FILE* file, const Image& image, int quality);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_IMAGES_FORMATS_H_
