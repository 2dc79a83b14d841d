#ifndef PIXMORPH_KERNELS_PACK_KERNEL_H_
#define PIXMORPH_KERNELS_PACK_KERNEL_H_

#include <cstdint>

// Rows between the three-byte layout and the 32-bit one. With these, every other kernel family exists once,
// for 32-bit rows: a 24-bit row is unpacked into a row buffer, worked on, and packed again.
namespace pixmorph::kernels {

// Common to all: `count` pixels, count >= 0 (0 touches nothing), any alignment. Exactly the bytes of `count`
// pixels are read and written, nothing before or after them. The areas don't overlap, unless said otherwise.
// `top` is OR-ed into every written 32-bit pixel: 0 or 0xFF000000 (see `TopByteMask`). [pure]
struct PackKernels {
  // Red, green, blue bytes -> 32-bit pixels (blue in bits 0-7).
  void (*rgb24ToBgrx)(std::uint8_t* to, const std::uint8_t* from, std::int32_t count, std::uint32_t top);
  // The same, asking memory for what comes further on (see read_ahead.h), where nobody else does.
  void (*rgb24ToBgrxAhead)(std::uint8_t* to, const std::uint8_t* from, std::int32_t count, std::uint32_t top);
  // 32-bit pixels -> red, green, blue bytes; the top bytes are ignored.
  void (*bgrxToRgb24)(std::uint8_t* to, const std::uint8_t* from, std::int32_t count);
  // 32-bit pixels -> 32-bit pixels with the top byte replaced. `to` may equal `from`.
  void (*bgrxWithTop)(std::uint8_t* to, const std::uint8_t* from, std::int32_t count, std::uint32_t top);
};

extern const PackKernels kPackScalar, kPackSse2, kPackSse41, kPackAvx2, kPackAvx512;

namespace ref {
void Rgb24ToBgrx(std::uint8_t* to, const std::uint8_t* from, std::int32_t count, std::uint32_t top);
void BgrxToRgb24(std::uint8_t* to, const std::uint8_t* from, std::int32_t count);
void BgrxWithTop(std::uint8_t* to, const std::uint8_t* from, std::int32_t count, std::uint32_t top);
}  // namespace ref

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_PACK_KERNEL_H_
