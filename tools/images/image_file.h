#ifndef PIXMORPH_TOOLS_IMAGES_IMAGE_FILE_H_
#define PIXMORPH_TOOLS_IMAGES_IMAGE_FILE_H_

#include <string>

#include "tools/images/image.h"

namespace tool {

// The name that stands for standard input or output.
constexpr const char* kStandardStream = "-";

enum class FileFormat { kPng, kJpeg };

// Reads a PNG or JPEG file, told apart by its first bytes. Throws Failure: kInput when it can't be read, and
// what the decoders throw.
Image ReadImage(const std::string& path);

// The format that a file name's ending stands for; `named` ("png", "jpg", "jpeg", empty: not given) goes
// first, and standard output is PNG without it. Throws Failure (kUsage). [pure]
FileFormat FormatFor(const std::string& path, const std::string& named);

// Writes a picture. The name appears only once the whole file is there: a failure or a signal on the way
// leaves what was there before, and no temporary file. Throws Failure (kOutput).
void WriteImage(const std::string& path, FileFormat format, const Image& image, int quality, bool overwrite);

// Throws Failure (kOutput), before any work is done, when the output exists and may not be overwritten or
// can't be written where it is wanted.
void CheckOutput(const std::string& path, bool overwrite);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_IMAGES_IMAGE_FILE_H_
