#ifndef PIXMORPH_KERNELS_RESAMPLE_QUAD_ROWS_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUAD_ROWS_AVX512_H_

#include "kernels/resample_quad_redo_avx512.h"
#include "kernels/resample_quad_source_avx512.h"
#include "kernels/resample_quad_sums_avx512.h"

// The pass along the rows in quads.
namespace pixmorph::kernels {

namespace {

// A bit for each pixel of two vectors with unsure colours: its first. The top byte is nobody's.
PIXMORPH_INLINE std::uint32_t UnsurePixels(__mmask16 first, __mmask16 second) {
  const std::uint32_t channels = _cvtmask32_u32(_mm512_kunpackw(second, first));
  return (channels | channels >> 1 | channels >> 2) & 0x11111111u;
}

// Four columns of four rows, of which lane l has row l.
PIXMORPH_INLINE void StoreColumns(__m512i bytes, std::uint8_t* out) {
  // Word 4 * channel + column of the result takes byte 4 * column + channel of each lane.
  const __m512i weave = _mm512_add_epi32(
      _mm512_set1_epi32(0x30201000),
      _mm512_mullo_epi32(_mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15),
                         _mm512_set1_epi32(0x01010101)));
  const __m512i woven = _mm512_permutexvar_epi8(weave, bytes);
  const auto at = [out](int channel) { return reinterpret_cast<__m128i*>(out + channel * kChannelBytes); };
  _mm_store_si128(at(0), _mm512_castsi512_si128(woven));
  _mm_store_si128(at(1), _mm512_extracti32x4_epi32(woven, 1));
  _mm_store_si128(at(2), _mm512_extracti32x4_epi32(woven, 2));
}

// kQuads 0: as many as the axis says.
template <std::int32_t kQuads, int kBits>
void SumColumns(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t* scratch,
                std::uint8_t* slot) {
  const QuadAxis& axis = plan.rowQuads;
  const Rounding<kBits> rounding(axis);
  const QuadList* list = axis.lists;
  const std::int32_t count = axis.exact.count;
  NextRows next(rows + 4, axis.exact.sourceLength, count / 4);
  Unsure unsure;
  // Bits are four rows of one column and the next.
  const auto redo = [&](std::uint32_t first, std::uint32_t bit) {
    const auto column = static_cast<std::int32_t>(first + bit / 16);
    const std::uint32_t row = bit / 4 % 4;
    if (column < count) RedoColumn(axis.exact, column, rows[row], slot + PlaceOf(column) + row);
  };
  std::int32_t i = 0;
  for (const QuadStretch* stretch = plan.quadStretches; i < count; ++stretch) {
    WeaveSource(rows, axis.exact.sourceLength, stretch->quad, stretch->quadEnd, scratch);
    const std::uint8_t* const source = scratch - 64 * static_cast<std::ptrdiff_t>(stretch->quad);
    const auto sumFour = [&](auto digits) {
      __m512i whole[4];
      __mmask16 doubts[4];
#pragma GCC unroll 4
      for (int n = 0; n < 4; ++n) {
        const __m512i sums =
            DigitSums<digits, kQuads>(source + 64 * static_cast<std::ptrdiff_t>(list[n].quad), 64,
                                      axis.digits + list[n].words, axis.widest, list[n].bias);
        doubts[n] = rounding.template Unsure<digits>(sums);
        whole[n] = rounding.Whole(sums);
      }
      StoreColumns(Narrow(whole[0], whole[1], whole[2], whole[3]), slot + PlaceOf(i));
      if (!unsure.HasRoom(2)) unsure.TakeAll(redo);
      unsure.Add(static_cast<std::uint32_t>(i), UnsurePixels(doubts[0], doubts[1]));
      unsure.Add(static_cast<std::uint32_t>(i + 2), UnsurePixels(doubts[2], doubts[3]));
    };
    for (; i < stretch->end; i += 4, list += 4) {
      next.Step();
      WithDigits<kBits>(list->digits, sumFour);
    }
  }
  unsure.TakeAll(redo);
}

template <int kBits>
void AlongRowsOf(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t* scratch,
                 std::uint8_t* slot) {
  WithQuads<7>(plan.rowQuads.widest,
               [&](auto quads) { SumColumns<quads, kBits>(plan, rows, scratch, slot); });
}

void AlongRows(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t* scratch,
               std::uint8_t* slot) {
  switch (plan.rowQuads.fractionBits) {
    case kUsualBits:
      return AlongRowsOf<kUsualBits>(plan, rows, scratch, slot);
    case kLongListBits:
      return AlongRowsOf<kLongListBits>(plan, rows, scratch, slot);
    default:
      return SumColumns<0, 0>(plan, rows, scratch, slot);
  }
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUAD_ROWS_AVX512_H_
