#ifndef PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_

#include <type_traits>

#include "kernels/resample_quad_redo_avx512.h"
#include "kernels/resample_quad_source_avx512.h"
#include "kernels/resample_quad_sums_avx512.h"

// Slots hold four intermediate rows woven together. They go by blocks of 16 columns, each channel by channel:
// in every column the bytes of the four rows. So one 32-bit word is a quad of vertical taps. A pixel's top
// byte is nobody's and takes no part in the second pass.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kBlock = 16;  // columns
constexpr std::ptrdiff_t kBlockBytes = 3 * kChannelBytes;
constexpr std::int32_t kStretchQuads = 256;  // 16 KiB of woven source pixels
// A bit for each pixel of two vectors with unsure colours: its first. The top byte is nobody's.
PIXMORPH_INLINE std::uint32_t UnsurePixels(__mmask16 first, __mmask16 second) {
  const std::uint32_t channels = _cvtmask32_u32(_mm512_kunpackw(second, first));
  return (channels | channels >> 1 | channels >> 2) & 0x11111111u;
}

// Where a column is in a slot.
PIXMORPH_INLINE std::ptrdiff_t PlaceOf(std::int32_t column) {
  return column / kBlock * kBlockBytes + 4 * (column % kBlock);
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

// Calls work(number of digits), a constant.
template <int kBits, class Work>
PIXMORPH_INLINE void WithDigits(std::int32_t digits, const Work& work) {
  // Other fractions belong to weights that are not simple.
  if (kBits == kUsualBits && digits == 1) return work(std::integral_constant<std::int32_t, 1>());
  work(std::integral_constant<std::int32_t, 3>());
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
        doubts[n] = rounding.Unsure(sums);
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
  switch (plan.rowQuads.widest) {
    case 1:
      return SumColumns<1, kBits>(plan, rows, scratch, slot);
    case 2:
      return SumColumns<2, kBits>(plan, rows, scratch, slot);
    case 3:
      return SumColumns<3, kBits>(plan, rows, scratch, slot);
    case 4:
      return SumColumns<4, kBits>(plan, rows, scratch, slot);
    case 5:
      return SumColumns<5, kBits>(plan, rows, scratch, slot);
    case 6:
      return SumColumns<6, kBits>(plan, rows, scratch, slot);
    case 7:
      return SumColumns<7, kBits>(plan, rows, scratch, slot);
    default:
      return SumColumns<0, kBits>(plan, rows, scratch, slot);
  }
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
        doubts[c] = rounding.Unsure(sums);
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
  switch (plan.columnQuads.lists[r].quads) {
    case 1:
      return SumPixels<1, kBits>(plan, r, slots, out, top);
    case 2:
      return SumPixels<2, kBits>(plan, r, slots, out, top);
    case 3:
      return SumPixels<3, kBits>(plan, r, slots, out, top);
    case 4:
      return SumPixels<4, kBits>(plan, r, slots, out, top);
    default:
      return SumPixels<0, kBits>(plan, r, slots, out, top);
  }
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

struct QuadPasses {
  static std::int64_t PlanBytes(const AxisWeights& row, const AxisWeights& column) {
    return ByteSize(QuadsBytes(row))
        .Plus(QuadsBytes(column))
        .Plus(ByteSize(row.count).Plus(3).Times(sizeof(QuadStretch)).Bytes())
        .Bytes();
  }

  static bool Plan(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
    auto* const columnMemory = static_cast<std::uint8_t*>(memory) + QuadsBytes(row);
    if (!PackQuads(row, true, memory, plan.rowQuads)) return false;
    if (!PackQuads(column, false, columnMemory, plan.columnQuads)) return false;
    auto* const stretches = reinterpret_cast<QuadStretch*>(columnMemory + QuadsBytes(column));
    plan.quadStretches = stretches;
    plan.alongRows = AlongRows;
    plan.alongColumns = AlongColumns;
    plan.batchRows = 4;
    plan.slotBytes = (row.count + kBlock - 1) / kBlock * std::int64_t{kBlockBytes};
    plan.scratchBytes = std::int64_t{64} * (CutStretches(plan.rowQuads, stretches) + 4);
    return true;
  }

 private:
  // Groups of four columns joined while their quads fit the first-level cache. The quads of the longest
  // stretch.
  static std::int32_t CutStretches(const QuadAxis& axis, QuadStretch* stretches) {
    std::int32_t longest = 0;
    QuadStretch* last = nullptr;
    for (std::int32_t i = 0; i < axis.exact.count; i += 4) {
      QuadStretch group = {i + 4, axis.lists[i].quad, axis.lists[i].quad};
      for (std::int32_t n = i; n < i + 4; ++n) {
        if (axis.lists[n].quad < group.quad) group.quad = axis.lists[n].quad;
        if (axis.lists[n].quad > group.quadEnd) group.quadEnd = axis.lists[n].quad;
      }
      group.quadEnd += axis.widest;
      if (last && group.quad >= last->quad && group.quadEnd <= last->quad + kStretchQuads) {
        last->end = group.end;
        if (group.quadEnd > last->quadEnd) last->quadEnd = group.quadEnd;
      } else {
        last = last ? last + 1 : stretches;
        *last = group;
      }
      if (last->quadEnd - last->quad > longest) longest = last->quadEnd - last->quad;
    }
    return longest;
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_
