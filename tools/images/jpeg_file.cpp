#include <cstddef>
// jpeglib.h needs size_t and FILE declared before it.
#include <cstdio>

#include <jpeglib.h>

#include <jerror.h>

#include <cerrno>
#include <csetjmp>
#include <cstring>
#include <utility>

#include "tools/failure.h"
#include "tools/images/formats.h"
#include "tools/images/orientation.h"

namespace tool {
namespace {

// libjpeg is C and knows no exceptions: an error jumps back to the one setjmp below, over C frames only. What
// the C++ side owns (pixels, rows) is made before the jump point, so that nothing is skipped.
struct ErrorManager : jpeg_error_mgr {
  std::jmp_buf back;
  char message[JMSG_LENGTH_MAX];
};

[[noreturn]] void JumpBack(j_common_ptr info) {
  auto* manager = static_cast<ErrorManager*>(info->err);
  manager->format_message(info, manager->message);
  std::longjmp(manager->back, 1);
}

// Where libjpeg would go on with invented pixels, the file is damaged for us.
void JudgeWarning(j_common_ptr info, int level) {
  const int code = info->err->msg_code;
  const bool lost = code == JWRN_JPEG_EOF || code == JWRN_HIT_MARKER || code == JWRN_HUFF_BAD_CODE;
  if (level < 0 && lost) JumpBack(info);
}

void SetErrorManager(ErrorManager* manager) {
  jpeg_std_error(manager);
  manager->error_exit = JumpBack;
  manager->emit_message = JudgeWarning;
  manager->message[0] = '\0';
}

struct Decoder {
  jpeg_decompress_struct info{};
  ErrorManager errors{};
  Decoder() {
    SetErrorManager(&errors);
    info.err = &errors;
  }
  ~Decoder() { jpeg_destroy_decompress(&info); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
};

struct Encoder {
  jpeg_compress_struct info{};
  ErrorManager errors{};
  Encoder() {
    SetErrorManager(&errors);
    info.err = &errors;
  }
  ~Encoder() { jpeg_destroy_compress(&info); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;
};

bool ReadHeader(Decoder* decoder, const FileBytes& bytes) {
  if (setjmp(decoder->errors.back)) return false;
  jpeg_create_decompress(&decoder->info);
  jpeg_save_markers(&decoder->info, JPEG_APP0 + 1, 0xFFFF);
  jpeg_mem_src(&decoder->info, bytes.data(), static_cast<unsigned long>(bytes.size()));
  jpeg_read_header(&decoder->info, TRUE);
  return true;
}

bool IsCmyk(const jpeg_decompress_struct& info) {
  return info.jpeg_color_space == JCS_CMYK || info.jpeg_color_space == JCS_YCCK;
}

bool ReadRows(Decoder* decoder, std::uint32_t* pixels) {
  if (setjmp(decoder->errors.back)) return false;
  decoder->info.out_color_space = IsCmyk(decoder->info) ? JCS_CMYK : JCS_EXT_BGRA;
  jpeg_start_decompress(&decoder->info);
  while (decoder->info.output_scanline < decoder->info.output_height) {
    auto* row = reinterpret_cast<JSAMPROW>(pixels + std::size_t{decoder->info.output_scanline} *
                                                        decoder->info.output_width);
    jpeg_read_scanlines(&decoder->info, &row, 1);
  }
  jpeg_finish_decompress(&decoder->info);
  return true;
}

// Cyan, magenta, yellow and key, four bytes in this order, to colours; Adobe's files hold them inverted.
void CmykToColours(Image* image, bool inverted) {
  for (std::uint32_t& pixel : image->pixels) {
    const std::uint32_t ink = inverted ? pixel : ~pixel;
    const std::uint32_t key = ink >> 24;
    std::uint32_t colours = 0xFF000000;
    const auto channel = [ink, key](int inkShift) { return ((ink >> inkShift & 0xFF) * key + 127) / 255; };
    pixel = colours | channel(0) << 16 | channel(8) << 8 | channel(16);
  }
}

int OrientationOf(const jpeg_decompress_struct& info) {
  for (const jpeg_marker_struct* marker = info.marker_list; marker; marker = marker->next) {
    const int orientation = ExifOrientation(marker->data, marker->data_length);
    if (orientation != 1) return orientation;
  }
  return 1;
}

[[noreturn]] void Damaged(const std::string& name, const char* message) {
  throw Failure(Exit::kFormat,
                name + " is a damaged JPEG file (" + message + "): get a whole copy of it or save it again");
}

bool WriteRows(Encoder* encoder, std::FILE* file, const Image& image, int quality) {
  if (setjmp(encoder->errors.back)) return false;
  jpeg_compress_struct& info = encoder->info;
  jpeg_create_compress(&info);
  jpeg_stdio_dest(&info, file);
  info.image_width = static_cast<JDIMENSION>(image.size.width);
  info.image_height = static_cast<JDIMENSION>(image.size.height);
  info.input_components = 4;
  info.in_color_space = JCS_EXT_BGRX;
  jpeg_set_defaults(&info);
  jpeg_set_quality(&info, quality, TRUE);
  jpeg_start_compress(&info, TRUE);
  while (info.next_scanline < info.image_height) {
    const std::uint32_t* row = image.pixels.data() + std::size_t{info.next_scanline} * info.image_width;
    // libjpeg's input rows aren't declared const; it only reads them.
    auto* samples = reinterpret_cast<JSAMPROW>(const_cast<std::uint32_t*>(row));
    jpeg_write_scanlines(&info, &samples, 1);
  }
  jpeg_finish_compress(&info);
  return true;
}

}  // namespace

bool LooksLikeJpeg(const FileBytes& bytes) {
  return bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == 0xD8 && bytes[2] == 0xFF;
}

Image DecodeJpeg(const std::string& name, const FileBytes& bytes) {
  Decoder decoder;
  if (!ReadHeader(&decoder, bytes)) Damaged(name, decoder.errors.message);
  CheckSides(name, decoder.info.image_width, decoder.info.image_height);
  Image image;
  image.size = {static_cast<std::int32_t>(decoder.info.image_width),
                static_cast<std::int32_t>(decoder.info.image_height)};
  const int orientation = OrientationOf(decoder.info);
  const std::uint64_t copies = orientation == 1 ? 1 : 2;
  CheckMemory(name, copies * PixelCountOf(image.size) * 4 + bytes.size());
  image.pixels.resize(PixelCountOf(image.size));
  if (!ReadRows(&decoder, image.pixels.data())) Damaged(name, decoder.errors.message);
  if (IsCmyk(decoder.info)) CmykToColours(&image, decoder.info.saw_Adobe_marker != 0);
  return Upright(std::move(image), orientation);
}

void EncodeJpeg(const std::string& name, std::FILE* file, const Image& image, int quality) {
  const Image flattened = image.hasAlpha ? OverWhite(image) : Image();
  Encoder encoder;
  errno = 0;
  if (!WriteRows(&encoder, file, image.hasAlpha ? flattened : image, quality))
    throw Failure(Exit::kOutput,
                  "can't write " + name + ": " + (errno ? std::strerror(errno) : encoder.errors.message));
}

}  // namespace tool
