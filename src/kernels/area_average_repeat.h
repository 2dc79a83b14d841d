#ifndef PIXMORPH_KERNELS_AREA_AVERAGE_REPEAT_H_
#define PIXMORPH_KERNELS_AREA_AVERAGE_REPEAT_H_

#include <emmintrin.h>

#include "kernels/area_average_kernel.h"
#include "kernels/pixels_sse.h"

// Enlargement without averaging: pixels repeated along a row, rows copied. `V` says how much is moved at
// once.
namespace pixmorph::kernels {
namespace {

void RepeatEachPixel(std::uint8_t* out, const std::uint8_t* row, const std::int32_t* starts,
                     std::int32_t count, std::uint32_t top) {
  const __m128i tops = _mm_set1_epi32(static_cast<std::int32_t>(top));
  std::int32_t x = 0;
  for (; x + 4 <= count; x += 4)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x * 4), WithTop(GatherPixels(row, starts + x), tops));
  for (; x < count; ++x) {
    std::uint32_t pixel;
    __builtin_memcpy(&pixel, row + starts[x] * 4, 4);
    pixel = (pixel & 0x00FFFFFFu) | top;
    __builtin_memcpy(out + x * 4, &pixel, 4);
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
