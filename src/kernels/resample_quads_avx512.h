#ifndef PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_

#include "kernels/intrinsics.h"
#include "kernels/resample_kernel.h"

// Slots hold four intermediate rows woven together: 16 bytes a pixel, channel by channel, each with the bytes
// of the four rows. So one 32-bit word is a quad of vertical taps, and no byte is moved between the two
// passes.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kSlotPixels = 16;     // slots are padded to a multiple of this many pixels
constexpr int kUsualBits = 22;               // of the fraction: most weights allow as many
constexpr int kLongListBits = 21;            // what is left where weights of both signs add up to more
constexpr std::int32_t kStretchQuads = 256;  // 16 KiB of woven source pixels
constexpr __mmask16 kColours = 0x7777;       // of four pixels with four words each; the top byte is nobody's
using Bytes16 = __m128i;

PIXMORPH_INLINE __m512i LoadVector(const void* p) { return _mm512_loadu_si512(p); }

PIXMORPH_INLINE __m512i Broadcast(const std::int32_t* p) { return _mm512_set1_epi32(*p); }

// The same vector, which the compiler has to keep now, since it can't read it again.
PIXMORPH_INLINE __m512i Kept(__m512i vector) {
  __asm__("" : "+v"(vector));
  return vector;
}

// What follows reads its memory anew. With eight registers the compiler would otherwise keep many digits in
// vectors of their own on the stack, of which one can be loaded a cycle; as operands of the products two can.
PIXMORPH_INLINE void ForgetMemory() { __asm__ volatile("" : : : "memory"); }

// The three digits' sums of one list over quads that lie `stride` bytes apart, put together. kQuads 0:
// `quads` of them, otherwise kQuads.
template <std::int32_t kQuads>
PIXMORPH_INLINE __m512i DigitSums(const std::uint8_t* source, std::ptrdiff_t stride,
                                  const std::int32_t* digits, std::int32_t quads, std::int32_t bias) {
  ForgetMemory();
  __m512i high = _mm512_setzero_si512(), middle = high, low = _mm512_set1_epi32(bias);
  const auto add = [&high, &middle, &low](const std::uint8_t* at, const std::int32_t* words) {
    const __m512i bytes = Kept(LoadVector(at));
    high = _mm512_dpbusd_epi32(high, bytes, Broadcast(words));
    middle = _mm512_dpbusd_epi32(middle, bytes, Broadcast(words + 1));
    low = _mm512_dpbusd_epi32(low, bytes, Broadcast(words + 2));
  };
  if (kQuads == 0) {
    for (; quads > 1; quads -= 2, source += 2 * stride, digits += 6) {
      add(source, digits);
      add(source + stride, digits + 3);
    }
    if (quads > 0) add(source, digits);
  }
#pragma GCC unroll 8
  for (std::int32_t q = 0; q < kQuads; ++q) add(source + q * stride, digits + 3 * q);
  const __m512i upper = _mm512_add_epi32(_mm512_slli_epi32(high, 16), _mm512_slli_epi32(middle, 8));
  return _mm512_add_epi32(upper, low);
}

// kBits 0: as many fraction bits as the axis says, otherwise kBits.
template <int kBits>
struct Rounding {
  __m128i up;    // 32 - fractionBits: leaves the fraction alone
  __m128i down;  // fractionBits
  __m512i threshold;

  PIXMORPH_INLINE_MEMBER explicit Rounding(const QuadAxis& axis)
      : up(_mm_cvtsi32_si128(32 - axis.fractionBits)),
        down(_mm_cvtsi32_si128(axis.fractionBits)),
        threshold(_mm512_set1_epi32(static_cast<std::int32_t>(axis.threshold))) {}

  // The samples whose fraction is too small to be sure.
  PIXMORPH_INLINE_MEMBER __mmask16 Unsure(__m512i sums) const {
    const __m512i fractions = kBits ? _mm512_slli_epi32(sums, 32 - kBits) : _mm512_sll_epi32(sums, up);
    return _mm512_mask_cmplt_epu32_mask(kColours, fractions, threshold);
  }
  PIXMORPH_INLINE_MEMBER __m512i Whole(__m512i sums) const {
    return kBits ? _mm512_srai_epi32(sums, kBits) : _mm512_sra_epi32(sums, down);
  }
};

// Four vectors of words to bytes, clamped: lane l of the result has lane l of each.
PIXMORPH_INLINE __m512i Narrow(__m512i a, __m512i b, __m512i c, __m512i d) {
  return _mm512_packus_epi16(_mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d));
}

// The four channels of one pixel as the plain evaluation gives them. Products of a float and a byte are exact
// in double, so a fused multiply-add rounds exactly where the plain sum does.
class PlainSum {
 public:
  PIXMORPH_INLINE_MEMBER PlainSum() : sum_(_mm256_setzero_pd()) {}
  PIXMORPH_INLINE_MEMBER void Add(float weight, __m128i channels) {
    sum_ = _mm256_fmadd_pd(_mm256_set1_pd(static_cast<double>(weight)), _mm256_cvtepi32_pd(channels), sum_);
  }
  // As one 32-bit pixel.
  PIXMORPH_INLINE_MEMBER std::uint32_t Pixel(float weightSum) const {
    const __m256d quotient = _mm256_div_pd(sum_, _mm256_set1_pd(static_cast<double>(weightSum)));
    const __m128i whole = _mm256_cvttpd_epi32(_mm256_add_pd(quotient, _mm256_set1_pd(0.5)));
    const __m128i words = _mm_packs_epi32(whole, whole);
    return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
  }

 private:
  __m256d sum_;
};

// By halves: a 64-bit count of zeros would be a call into a newer libgcc_s than old systems have. `bits`
// isn't 0.
PIXMORPH_INLINE std::int32_t LowestBit(std::uint64_t bits) {
  const auto low = static_cast<std::uint32_t>(bits);
  return low ? __builtin_ctz(low) : 32 + __builtin_ctz(static_cast<std::uint32_t>(bits >> 32));
}

// The number of the lowest group of four bits that has one, which is then cleared.
PIXMORPH_INLINE std::int32_t TakeFirst(std::uint64_t& bits) {
  const std::int32_t group = LowestBit(bits) / 4;
  bits &= ~(std::uint64_t{0xF} << (4 * group));
  return group;
}

// Output columns i .. i + 3 of one batch again, where `unsure` has a bit: 16 bits a column, four a row.
__attribute__((noinline)) void RedoColumns(const FusedPlan& plan, const std::uint8_t* const* rows,
                                           std::int32_t i, std::uint64_t unsure, std::uint8_t* slot) {
  const AxisWeights& exact = plan.rowQuads.exact;
  while (unsure != 0) {
    const std::int32_t n = TakeFirst(unsure);
    const std::int32_t column = i + n / 4 < exact.count ? i + n / 4 : exact.count - 1;
    const WeightList& list = exact.lists[column];
    const WeightBlock& block = exact.blocks[list.block];
    const float* const weights = exact.weights + block.offset;
    const std::uint8_t* pixel = rows[n % 4] + 4 * static_cast<std::ptrdiff_t>(list.first);
    PlainSum sum;
    for (std::int32_t t = 0; t < block.count; ++t, pixel += 4)
      sum.Add(weights[t], _mm_cvtepu8_epi32(_mm_loadu_si32(pixel)));
    const std::uint32_t result = sum.Pixel(block.sum);
    std::uint8_t* const out = slot + 16 * static_cast<std::ptrdiff_t>(i + n / 4) + n % 4;
    for (std::int32_t c = 0; c < 4; ++c) out[4 * c] = static_cast<std::uint8_t>(result >> (8 * c));
  }
}

// Output pixels of row r again, where `unsure` has one of a pixel's four bits; `slots` and `out` are at the
// first.
__attribute__((noinline)) void RedoPixels(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots,
                                          std::uint64_t unsure, std::uint8_t* out, std::uint32_t top) {
  const AxisWeights& exact = plan.columnQuads.exact;
  const WeightList& list = exact.lists[r];
  const WeightBlock& block = exact.blocks[list.block];
  const float* const weights = exact.weights + block.offset;
  const auto stride = static_cast<std::ptrdiff_t>(plan.slotBytes);
  while (unsure != 0) {
    const std::int32_t x = TakeFirst(unsure);
    const std::uint8_t* const pixel = slots + 16 * x;
    PlainSum sum;
    for (std::int32_t t = 0; t < block.count; ++t) {
      const std::int32_t row = list.first % 4 + t;
      const __m128i quad = _mm_loadu_si128(reinterpret_cast<const Bytes16*>(pixel + row / 4 * stride));
      const __m128i bytes = _mm_srl_epi32(quad, _mm_cvtsi32_si128(row % 4 * 8));
      sum.Add(weights[t], _mm_and_si128(bytes, _mm_set1_epi32(0xFF)));
    }
    const std::uint32_t result = (sum.Pixel(block.sum) & 0x00FFFFFFu) | top;
    _mm_storeu_si32(out + 4 * x, _mm_cvtsi32_si128(static_cast<std::int32_t>(result)));
  }
}

PIXMORPH_INLINE bool AnyOf(const __mmask16 (&m)[4]) {
  return _cvtmask16_u32(_kor_mask16(_kor_mask16(m[0], m[1]), _kor_mask16(m[2], m[3]))) != 0;
}

PIXMORPH_INLINE std::uint64_t Together(const __mmask16 (&m)[4]) {
  return _cvtmask64_u64(_mm512_kunpackd(_mm512_kunpackw(m[3], m[2]), _mm512_kunpackw(m[1], m[0])));
}

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
