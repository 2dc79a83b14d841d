#ifndef PIXMORPH_KERNELS_RESAMPLE_QUAD_COLUMNS_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUAD_COLUMNS_AVX512_H_

#include "kernels/resample_quad_redo_avx512.h"
#include "kernels/resample_quad_sums_avx512.h"

// The pass along the columns in quads.
namespace pixmorph::kernels {

namespace {

// The first `count` pixels of a block from the whole parts of its channels.
PIXMORPH_INLINE void StoreBlock(const __m512i (&channels)[3], std::uint8_t* out, std::int32_t count,
                                std::uint32_t top) {
  // Of each four pixels: the first channel's bytes, the second's, the third's.
  const __m512i bytes = Narrow(channels[0], channels[1], channels[2], channels[2]);
  const __m512i byPixel =
      _mm512_broadcast_i32x4(_mm_setr_epi8(0, 4, 8, -128, 1, 5, 9, -128, 2, 6, 10, -128, 3, 7, 11, -128));
  const __m512i pixels =
      _mm512_or_si512(_mm512_shuffle_epi8(bytes, byPixel), _mm512_set1_epi32(static_cast<std::int32_t>(top)));
  if (count >= kBlock) return _mm512_storeu_si512(out, pixels);
  _mm512_mask_storeu_epi32(out, static_cast<__mmask16>((1u << count) - 1), pixels);
}

template <std::int32_t kQuads, int kBits>
void SumPixels(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots, std::uint8_t* out,
               std::uint32_t top) {
  const QuadAxis& axis = plan.columnQuads;
  const QuadList& list = axis.lists[r];
  const auto stride = static_cast<std::ptrdiff_t>(plan.slotBytes);
  const std::int32_t* const digits = axis.digits + list.words;
  const Rounding<kBits> rounding(axis);
  const std::int32_t width = plan.rowQuads.exact.count;
  Unsure unsure;
  const auto redo = [=, &plan](std::uint32_t x, std::uint32_t bit) {
    const auto column = static_cast<std::int32_t>(x + bit);
    if (column < width)
      RedoPixel(plan, r, slots + PlaceOf(column), out + 4 * static_cast<std::ptrdiff_t>(column), top);
  };
  WithDigits<kBits>(list.digits, [&](auto digitCount) {
    const std::uint8_t* block = slots;
    for (std::int32_t x = 0; x < width; x += kBlock, block += kBlockBytes) {
      __m512i whole[3];
      __mmask16 doubts[3];
#pragma GCC unroll 3
      for (int c = 0; c < 3; ++c) {
        const __m512i sums =
            DigitSums<digitCount, kQuads>(block + kChannelBytes * c, stride, digits, list.quads, list.bias);
        doubts[c] = rounding.template Unsure<digitCount>(sums);
        whole[c] = rounding.Whole(sums);
      }
      StoreBlock(whole, out + 4 * static_cast<std::ptrdiff_t>(x), width - x, top);
      if (!unsure.HasRoom(1)) unsure.TakeAll(redo);
      unsure.Add(static_cast<std::uint32_t>(x),
                 _cvtmask16_u32(_kor_mask16(_kor_mask16(doubts[0], doubts[1]), doubts[2])));
    }
  });
  unsure.TakeAll(redo);
}

template <int kBits>
void AlongColumnsOf(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots, std::uint8_t* out,
                    std::uint32_t top) {
  WithQuads<4>(plan.columnQuads.lists[r].quads,
               [&](auto quads) { SumPixels<quads, kBits>(plan, r, slots, out, top); });
}

void AlongColumns(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots, std::uint8_t* out,
                  std::uint32_t top) {
  switch (plan.columnQuads.fractionBits) {
    case kUsualBits:
      return AlongColumnsOf<kUsualBits>(plan, r, slots, out, top);
    case kLongListBits:
      return AlongColumnsOf<kLongListBits>(plan, r, slots, out, top);
    default:
      return SumPixels<0, 0>(plan, r, slots, out, top);
  }
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUAD_COLUMNS_AVX512_H_
