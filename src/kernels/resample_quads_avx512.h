#ifndef PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_

#include "kernels/resample_quad_redo_avx512.h"
#include "kernels/resample_quad_source_avx512.h"
#include "kernels/resample_quad_sums_avx512.h"

// Slots hold four intermediate rows woven together: 16 bytes a pixel, channel by channel, each with the bytes
// of the four rows. So one 32-bit word is a quad of vertical taps, and no byte is moved between the two
// passes.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kSlotPixels = 16;     // slots are padded to a multiple of this many pixels
constexpr std::int32_t kStretchQuads = 256;  // 16 KiB of woven source pixels

// kQuads 0: as many as the axis says.
template <std::int32_t kQuads, int kBits>
void SumColumns(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t* scratch,
                std::uint8_t* slot) {
  const QuadAxis& axis = plan.rowQuads;
  const Rounding<kBits> rounding(axis);
  // Word n of the result takes byte n of each lane, which are the four rows.
  const __m512i weave = _mm512_add_epi32(
      _mm512_set1_epi32(0x30201000),
      _mm512_mullo_epi32(_mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15),
                         _mm512_set1_epi32(0x01010101)));
  const QuadList* list = axis.lists;
  NextRows next(rows + 4, axis.exact.sourceLength, axis.exact.count / 4);
  std::int32_t i = 0;
  for (const QuadStretch* stretch = plan.quadStretches; i < axis.exact.count; ++stretch) {
    WeaveSource(rows, axis.exact.sourceLength, stretch->quad, stretch->quadEnd, scratch);
    const std::uint8_t* const source = scratch - 64 * static_cast<std::ptrdiff_t>(stretch->quad);
    for (; i < stretch->end; i += 4, list += 4) {
      next.Step();
      __m512i whole[4];
      __mmask16 unsure[4];
#pragma GCC unroll 4
      for (int n = 0; n < 4; ++n) {
        const __m512i sums = DigitSums<kQuads>(source + 64 * static_cast<std::ptrdiff_t>(list[n].quad), 64,
                                               axis.digits + list[n].words, axis.widest, list[n].bias);
        unsure[n] = rounding.Unsure(sums);
        whole[n] = rounding.Whole(sums);
      }
      const __m512i bytes = Narrow(whole[0], whole[1], whole[2], whole[3]);
      _mm512_store_si512(slot + 16 * static_cast<std::ptrdiff_t>(i), _mm512_permutexvar_epi8(weave, bytes));
      if (__builtin_expect(AnyOf(unsure), 0)) RedoColumns(plan, rows, i, Together(unsure), slot);
    }
  }
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

template <std::int32_t kQuads, int kBits>
void SumPixels(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots, std::uint8_t* out,
               std::uint32_t top) {
  const QuadAxis& axis = plan.columnQuads;
  const QuadList& list = axis.lists[r];
  const auto stride = static_cast<std::ptrdiff_t>(plan.slotBytes);
  const std::int32_t* const digits = axis.digits + list.words;
  const Rounding<kBits> rounding(axis);
  const __m512i inOrder = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  const std::int32_t width = plan.rowQuads.exact.count;
  for (std::int32_t x = 0; x < width; x += 16, slots += 256) {
    __m512i whole[4];
    __mmask16 unsure[4];
#pragma GCC unroll 4
    for (int n = 0; n < 4; ++n) {
      const __m512i sums = DigitSums<kQuads>(slots + 64 * n, stride, digits, list.quads, list.bias);
      unsure[n] = rounding.Unsure(sums);
      whole[n] = rounding.Whole(sums);
    }
    const __m512i bytes = Narrow(whole[0], whole[1], whole[2], whole[3]);
    const __m512i pixels = _mm512_permutexvar_epi32(inOrder, bytes);
    const __m512i written = _mm512_ternarylogic_epi32(
        pixels, _mm512_set1_epi32(0x00FFFFFF), _mm512_set1_epi32(static_cast<std::int32_t>(top)), 0xEA);
    std::uint8_t* const at = out + 4 * static_cast<std::ptrdiff_t>(x);
    const std::int32_t rest = width - x;
    if (rest >= 16) {
      _mm512_storeu_si512(at, written);
    } else {
      _mm512_mask_storeu_epi32(at, static_cast<__mmask16>((1u << rest) - 1), written);
    }
    if (__builtin_expect(AnyOf(unsure), 0)) {
      const std::uint64_t inside = rest < 16 ? (std::uint64_t{1} << (4 * rest)) - 1 : ~std::uint64_t{0};
      RedoPixels(plan, r, slots, Together(unsure) & inside, at, top);
    }
  }
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
    plan.slotBytes = (row.count + kSlotPixels - 1) / kSlotPixels * kSlotPixels * std::int64_t{16};
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
