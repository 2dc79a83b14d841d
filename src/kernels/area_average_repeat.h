#ifndef PIXMORPH_KERNELS_AREA_AVERAGE_REPEAT_H_
#define PIXMORPH_KERNELS_AREA_AVERAGE_REPEAT_H_

#include <emmintrin.h>

#include "kernels/area_average_kernel.h"

// Enlargement without averaging: pixels repeated along a row, rows copied. `V` says how much is moved at
// once.
namespace pixmorph::kernels {
namespace {

PIXMORPH_INLINE std::int32_t PixelAt(const std::uint8_t* row, std::int32_t x) {
  std::int32_t pixel;
  __builtin_memcpy(&pixel, row + x * 4, 4);
  return pixel;
}

// Four pixels at a time, each by a load of its own.
void RepeatEachPixel(std::uint8_t* out, const std::uint8_t* row, const std::int32_t* starts,
                     std::int32_t count, std::uint32_t top) {
  const __m128i colours = _mm_set1_epi32(0x00FFFFFF), tops = _mm_set1_epi32(static_cast<std::int32_t>(top));
  std::int32_t x = 0;
  for (; x + 4 <= count; x += 4, starts += 4, out += 16) {
    const __m128i pixels = _mm_set_epi32(PixelAt(row, starts[3]), PixelAt(row, starts[2]),
                                         PixelAt(row, starts[1]), PixelAt(row, starts[0]));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_or_si128(_mm_and_si128(pixels, colours), tops));
  }
  for (; x < count; ++x, out += 4) {
    const std::uint32_t pixel = (static_cast<std::uint32_t>(PixelAt(row, *starts++)) & 0x00FFFFFFu) | top;
    __builtin_memcpy(out, &pixel, 4);
  }
}

// V::kPixels at a time, permuted out of one load, as long as such a load stays inside the row.
template <class V>
void RepeatPixels(std::uint8_t* out, const std::uint8_t* row, const std::int32_t* starts, std::int32_t count,
                  std::uint32_t top) {
  const std::int32_t lastLoad = count > 0 ? starts[count - 1] + 1 - V::kPixels : -1;
  std::int32_t x = 0;
  for (; x + V::kPixels <= count && starts[x] <= lastLoad; x += V::kPixels)
    V::RepeatSome(out + x * 4, row + starts[x] * 4, starts + x, top);
  RepeatEachPixel(out + x * 4, row, starts + x, count - x, top);
}

// How a level without wider vectors streams.
struct Pixels128 {
  static constexpr std::int32_t kStreamBytes = 16;
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* out, const std::uint8_t* from) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(out),
                     _mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
  }
};

// Stores past the caches between the aligned ends, V::kStreamBytes at a time.
template <class V>
void CopyRow(std::uint8_t* out, const std::uint8_t* row, std::int32_t byteCount) {
  const auto misaligned =
      static_cast<std::int32_t>(-reinterpret_cast<std::uintptr_t>(out) & (V::kStreamBytes - 1));
  const std::int32_t head = misaligned < byteCount ? misaligned : byteCount;
  __builtin_memcpy(out, row, static_cast<std::uint32_t>(head));
  std::ptrdiff_t i = head;
  for (; i + 4 * V::kStreamBytes <= byteCount; i += 4 * V::kStreamBytes)
    for (int part = 0; part < 4; ++part)
      V::Stream(out + i + part * V::kStreamBytes, row + i + part * V::kStreamBytes);
  for (; i + V::kStreamBytes <= byteCount; i += V::kStreamBytes) V::Stream(out + i, row + i);
  __builtin_memcpy(out + i, row + i, static_cast<std::uint32_t>(byteCount - i));
}

void FinishCopies() { _mm_sfence(); }

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_AREA_AVERAGE_REPEAT_H_
