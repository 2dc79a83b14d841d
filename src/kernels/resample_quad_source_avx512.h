#ifndef PIXMORPH_KERNELS_RESAMPLE_QUAD_SOURCE_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUAD_SOURCE_AVX512_H_

#include "kernels/intrinsics.h"
#include "kernels/resample_quad_sums_avx512.h"

// How source rows arrive: woven to quads, the next ones fetched meanwhile.
namespace pixmorph::kernels {

namespace {

// Four rows of source pixels to quads: 64 bytes for four pixels, 16 a row, channel by channel. Quads first ..
// end - 1 and up to three more, as zeros where the rows of `pixels` pixels have ended.
void WeaveSource(const std::uint8_t* const* rows, std::int32_t pixels, std::int32_t first, std::int32_t end,
                 std::uint8_t* out) {
  const __m512i byChannel =
      _mm512_broadcast_i32x4(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
  for (std::int32_t x = 4 * first; x < 4 * end; x += 16, out += 256) {
    const std::ptrdiff_t at = 4 * static_cast<std::ptrdiff_t>(x);
    __m512i a, b, c, d;
    if (pixels - x >= 16) {
      a = LoadVector(rows[0] + at), b = LoadVector(rows[1] + at);
      c = LoadVector(rows[2] + at), d = LoadVector(rows[3] + at);
    } else {
      const auto inside = static_cast<__mmask16>(pixels > x ? (1u << (pixels - x)) - 1 : 0);
      a = _mm512_maskz_loadu_epi32(inside, rows[0] + at), b = _mm512_maskz_loadu_epi32(inside, rows[1] + at);
      c = _mm512_maskz_loadu_epi32(inside, rows[2] + at), d = _mm512_maskz_loadu_epi32(inside, rows[3] + at);
    }
    const __m512i ab02 = _mm512_shuffle_i32x4(a, b, 0x88), ab13 = _mm512_shuffle_i32x4(a, b, 0xDD);
    const __m512i cd02 = _mm512_shuffle_i32x4(c, d, 0x88), cd13 = _mm512_shuffle_i32x4(c, d, 0xDD);
    const __m512i quads[4] = {_mm512_shuffle_i32x4(ab02, cd02, 0x88), _mm512_shuffle_i32x4(ab13, cd13, 0x88),
                              _mm512_shuffle_i32x4(ab02, cd02, 0xDD), _mm512_shuffle_i32x4(ab13, cd13, 0xDD)};
    for (int q = 0; q < 4; ++q) _mm512_store_si512(out + 64 * q, _mm512_shuffle_epi8(quads[q], byChannel));
  }
}

// Fetches the next batch's rows evenly while this one is worked on: the processor's own prefetching stops at
// every page, and the weaving would wait for memory.
class NextRows {
 public:
  PIXMORPH_INLINE_MEMBER NextRows(const std::uint8_t* const* rows, std::int32_t pixels, std::int32_t steps)
      : rows_(rows),
        bytes_(4 * static_cast<std::ptrdiff_t>(pixels)),
        perStep_(Lines(bytes_ / (steps > 0 ? steps : 1))) {}
  PIXMORPH_INLINE_MEMBER void Step() {
    for (std::ptrdiff_t end = at_ + perStep_; at_ < end && at_ < bytes_; at_ += 64)
      for (int n = 0; n < 4; ++n) _mm_prefetch(reinterpret_cast<const char*>(rows_[n] + at_), _MM_HINT_T1);
  }

 private:
  PIXMORPH_INLINE_MEMBER static std::ptrdiff_t Lines(std::ptrdiff_t bytes) { return (bytes + 63) / 64 * 64; }
  const std::uint8_t* const* rows_;
  const std::ptrdiff_t bytes_, perStep_;
  std::ptrdiff_t at_ = 0;
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUAD_SOURCE_AVX512_H_
