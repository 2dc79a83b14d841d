#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstring>
#include <new>

#include "tools/failure.h"
#include "tools/images/formats.h"

namespace tool {
namespace {

// Photographs hardly get smaller beyond this level, and take several times as long.
constexpr int kCompressionLevel = 3;

// libpng is C and knows no exceptions: an error jumps back to the setjmp of the function that called it, over
// C frames only. Everything with a destructor is made outside the functions that jump.
struct ErrorText {
  char message[160] = "";
};

[[noreturn]] void JumpBack(png_structp png, png_const_charp message) {
  auto* text = static_cast<ErrorText*>(png_get_error_ptr(png));
  std::strncpy(text->message, message, sizeof text->message - 1);
  png_longjmp(png, 1);
}

void IgnoreWarning(png_structp, png_const_charp) {}

struct Source {
  const std::uint8_t* next;
  std::size_t left;
};

void ReadBytes(png_structp png, png_bytep target, std::size_t count) {
  auto* source = static_cast<Source*>(png_get_io_ptr(png));
  if (count > source->left) png_error(png, "the file ends too early");
  std::memcpy(target, source->next, count);
  source->next += count;
  source->left -= count;
}

struct Decoder {
  ErrorText error;
  Source source;
  png_structp png;
  png_infop info;

  explicit Decoder(const FileBytes& bytes)
      : source{bytes.data(), bytes.size()},
        png(png_create_read_struct(PNG_LIBPNG_VER_STRING, &error, JumpBack, IgnoreWarning)),
        info(png ? png_create_info_struct(png) : nullptr) {
    if (!info) throw std::bad_alloc();
    png_set_read_fn(png, &source, ReadBytes);
    png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  }
  ~Decoder() { png_destroy_read_struct(&png, &info, nullptr); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;
};

struct Encoder {
  ErrorText error;
  png_structp png;
  png_infop info;

  explicit Encoder(std::FILE* file)
      : png(png_create_write_struct(PNG_LIBPNG_VER_STRING, &error, JumpBack, IgnoreWarning)),
        info(png ? png_create_info_struct(png) : nullptr) {
    if (!info) throw std::bad_alloc();
    png_init_io(png, file);
  }
  ~Encoder() { png_destroy_write_struct(&png, &info); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;
};

bool ReadHeader(Decoder* decoder) {
  if (setjmp(png_jmpbuf(decoder->png))) return false;
  png_read_info(decoder->png, decoder->info);
  return true;
}

// Whatever the file holds becomes four bytes per pixel in the order of Image.
void AskForFourBytes(Decoder* decoder) {
  png_set_expand(decoder->png);
  png_set_scale_16(decoder->png);
  png_set_gray_to_rgb(decoder->png);
  png_set_bgr(decoder->png);
  png_set_add_alpha(decoder->png, 0xFF, PNG_FILLER_AFTER);
}

bool ReadRows(Decoder* decoder, std::uint32_t* pixels, std::size_t width, std::size_t height) {
  if (setjmp(png_jmpbuf(decoder->png))) return false;
  AskForFourBytes(decoder);
  const int passes = png_set_interlace_handling(decoder->png);
  png_read_update_info(decoder->png, decoder->info);
  if (png_get_rowbytes(decoder->png, decoder->info) != width * 4)
    png_error(decoder->png, "unknown kind of pixels");
  for (int pass = 0; pass < passes; ++pass) {
    for (std::size_t y = 0; y < height; ++y)
      png_read_row(decoder->png, reinterpret_cast<png_bytep>(pixels + y * width), nullptr);
  }
  png_read_end(decoder->png, nullptr);
  return true;
}

bool HasTransparency(const Decoder& decoder) {
  return (png_get_color_type(decoder.png, decoder.info) & PNG_COLOR_MASK_ALPHA) != 0 ||
         png_get_valid(decoder.png, decoder.info, PNG_INFO_tRNS) != 0;
}

[[noreturn]] void Damaged(const std::string& name, const char* message) {
  throw Failure(Exit::kFormat,
                name + " is a damaged PNG file (" + message + "): get a whole copy of it or save it again");
}

void WriteHeader(Encoder* encoder, const Image& image) {
  const int colourType = image.hasAlpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB;
  png_set_IHDR(encoder->png, encoder->info, static_cast<png_uint_32>(image.size.width),
               static_cast<png_uint_32>(image.size.height), 8, colourType, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(encoder->png, kCompressionLevel);
  png_write_info(encoder->png, encoder->info);
  png_set_bgr(encoder->png);
  if (!image.hasAlpha) png_set_filler(encoder->png, 0, PNG_FILLER_AFTER);
}

bool WriteFile(Encoder* encoder, const Image& image) {
  if (setjmp(png_jmpbuf(encoder->png))) return false;
  WriteHeader(encoder, image);
  const auto width = static_cast<std::size_t>(image.size.width);
  for (std::size_t at = 0; at < image.PixelCount(); at += width)
    png_write_row(encoder->png, reinterpret_cast<png_const_bytep>(image.pixels.data() + at));
  png_write_end(encoder->png, encoder->info);
  return true;
}

}  // namespace

bool LooksLikePng(const FileBytes& bytes) {
  return bytes.size() >= 8 && std::memcmp(bytes.data(), "\x89PNG\r\n\x1a\n", 8) == 0;
}

Image DecodePng(const std::string& name, const FileBytes& bytes) {
  Decoder decoder(bytes);
  if (!ReadHeader(&decoder)) Damaged(name, decoder.error.message);
  const png_uint_32 width = png_get_image_width(decoder.png, decoder.info);
  const png_uint_32 height = png_get_image_height(decoder.png, decoder.info);
  CheckSides(name, width, height);
  Image image;
  image.size = {static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
  CheckMemory(name, std::uint64_t{PixelCountOf(image.size)} * 4 + bytes.size());
  image.hasAlpha = HasTransparency(decoder);
  image.pixels.resize(PixelCountOf(image.size));
  if (!ReadRows(&decoder, image.pixels.data(), width, height)) Damaged(name, decoder.error.message);
  return image;
}

void EncodePng(const std::string& name, std::FILE* file, const Image& image) {
  Encoder encoder(file);
  errno = 0;
  if (!WriteFile(&encoder, image))
    throw Failure(Exit::kOutput,
                  "can't write " + name + ": " + (errno ? std::strerror(errno) : encoder.error.message));
}

}  // namespace tool
