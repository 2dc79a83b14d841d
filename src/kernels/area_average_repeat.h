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
    V::Store(out + x * 4, V::Repeated(row, starts + x, top));
  RepeatEachPixel(out + x * 4, row, starts + x, count - x, top);
}

// What a level without wider vectors moves.
struct Pixels128 {
  using Vec = __m128i;
  static constexpr std::int32_t kPixels = 4, kStreamBytes = 16;
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* out, Vec v) {
    _mm_stream_si128(reinterpret_cast<__m128i*>(out), v);
  }
  PIXMORPH_INLINE_MEMBER static Vec Load(const std::uint8_t* from) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
  }
  PIXMORPH_INLINE_MEMBER static Vec Repeated(const std::uint8_t* row, const std::int32_t* starts,
                                             std::uint32_t top) {
    return WithTop(GatherPixels(row, starts), _mm_set1_epi32(static_cast<std::int32_t>(top)));
  }
};

constexpr std::int32_t kLinePixels = 16;  // of a cache line, which has to be written at once

// Where columns `begin` .. `end` - 1 are made pixel by pixel.
PIXMORPH_INLINE void RepeatEnds(const EqualRows& out, const std::uint8_t* row, const std::int32_t* starts,
                                std::int32_t begin, std::int32_t end, std::uint32_t top) {
  for (std::int32_t n = 0; n < out.count; ++n)
    RepeatEachPixel(out.rows[n] + begin * 4, row, starts + begin, end - begin, top);
}

// Writes whole lines from column x on while vectors start at source pixels up to `lastLoad`; the column where
// it ends.
template <class V>
PIXMORPH_INLINE std::int32_t RepeatLines(const EqualRows& out, const std::uint8_t* row,
                                         const std::int32_t* starts, std::int32_t x, std::int32_t count,
                                         std::int32_t lastLoad, std::uint32_t top) {
  constexpr std::int32_t kVectors = kLinePixels / V::kPixels;
  for (; x + kLinePixels <= count && starts[x + kLinePixels - V::kPixels] <= lastLoad; x += kLinePixels) {
    typename V::Vec line[kVectors];
    for (std::int32_t i = 0; i < kVectors; ++i) line[i] = V::Repeated(row, starts + x + i * V::kPixels, top);
    for (std::int32_t n = 0; n < out.count; ++n)
      for (std::int32_t i = 0; i < kVectors; ++i) V::Stream(out.rows[n] + (x + i * V::kPixels) * 4, line[i]);
  }
  return x;
}

// A line is made once and goes to all rows. Their lines begin at the same column.
template <class V>
void RepeatAligned(const EqualRows& out, const std::uint8_t* row, const std::int32_t* starts,
                   std::int32_t count, std::uint32_t top) {
  const auto before =
      static_cast<std::int32_t>(-reinterpret_cast<std::uintptr_t>(out.rows[0]) & (4 * kLinePixels - 1));
  if (before % 4 != 0 || before / 4 >= count) return RepeatEnds(out, row, starts, 0, count, top);
  RepeatEnds(out, row, starts, 0, before / 4, top);
  // Wide vectors are loaded whole, and must not reach beyond the row.
  const std::int32_t lastLoad = starts[count - 1] + 1 - V::kPixels;
  const std::int32_t x = RepeatLines<V>(out, row, starts, before / 4, count, lastLoad, top);
  const std::int32_t end = RepeatLines<Pixels128>(out, row, starts, x, count, INT32_MAX, top);
  RepeatEnds(out, row, starts, end, count, top);
}

template <class V>
void RepeatRows(const EqualRows& out, const std::uint8_t* row, const std::int32_t* starts, std::int32_t count,
                std::uint32_t top) {
  bool aligned = true;
  for (std::int32_t n = 1; n < out.count; ++n)
    if ((out.rows[n] - out.rows[0]) % (4 * kLinePixels) != 0) aligned = false;
  if (aligned) return RepeatAligned<V>(out, row, starts, count, top);
  for (std::int32_t n = 0; n < out.count; ++n) RepeatAligned<V>({out.rows + n, 1}, row, starts, count, top);
}

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
      V::Stream(out + i + part * V::kStreamBytes, V::Load(row + i + part * V::kStreamBytes));
  for (; i + V::kStreamBytes <= byteCount; i += V::kStreamBytes) V::Stream(out + i, V::Load(row + i));
  __builtin_memcpy(out + i, row + i, static_cast<std::uint32_t>(byteCount - i));
}

void FinishCopies() { _mm_sfence(); }

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_AREA_AVERAGE_REPEAT_H_
