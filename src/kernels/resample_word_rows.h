#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_ROWS_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_ROWS_H_

#include "kernels/registers.h"
#include "kernels/resample_second_look.h"
#include "kernels/resample_wide_sums.h"
#include "kernels/resample_word_rounding.h"

// The pass along the rows in products of 16-bit numbers.
namespace pixmorph::kernels {

namespace {

template <class V>
class WordRows {
 public:
  // Pairs of source columns that the longest stretch needs at once.
  static std::int32_t LongestStretch(const WordAxis& axis) {
    std::int32_t longest = kStretchPairs;
    for (std::int32_t i = 0; i < axis.exact.count; i += 4) {
      const Span span = GroupSpan(axis, i);
      if (span.end - span.first > longest) longest = span.end - span.first;
    }
    return longest;
  }

  // As `FusedPlan::alongRows`.
  template <bool kWide>
  static void Make(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t* scratch,
                   std::uint8_t* slot) {
    const WordAxis& axis = plan.rowWords;
    const std::int32_t count = axis.exact.count;
    Unsure unsure;
    for (std::int32_t i = 0; i < count;) {
      Span span = GroupSpan(axis, i);
      std::int32_t end = i + 4;
      for (; end < count; end += 4) {
        const Span next = GroupSpan(axis, end);
        if (next.first < span.first || next.end > span.first + kStretchPairs) break;
        if (next.end > span.end) span.end = next.end;
      }
      WeaveStretch(rows, axis.exact.sourceLength, span, scratch);
      const std::uint8_t* const source = scratch - kPairBytes * span.first;
      const auto look = [&](std::int32_t place, std::int32_t group, std::uint32_t bits) {
        const std::int32_t channel = place % 4, half = place / 4 % 2 + group / 4;
        LookAgain(plan, rows, source, {place / 16 * 4 + group % 4, half, channel, bits}, slot);
      };
      for (; i < end && i < count; i += 4) {
        if (!unsure.HasRoom(kRowVectors)) unsure.TakeAll(look);
        SumGroup<kWide>(plan, source, i, slot, unsure);
      }
      unsure.TakeAll(look);
    }
  }

 private:
  using Vec = typename V::Vec;
  using Slots = WordSlots<V>;
  static constexpr int kHalves = kBatchRows / V::kSums;    // vectors of one channel
  static constexpr int kRowVectors = kChannels * kHalves;  // of all of them

  // Pairs of source columns.
  struct Span {
    std::int32_t first, end;

    void Include(const WordList& list) {
      if (list.pair < first) first = list.pair;
      if (list.pair + list.pairs > end) end = list.pair + list.pairs;
    }
  };

  // One channel of four rows of an output column.
  struct FourRows {
    std::int32_t column, half, channel;
    std::uint32_t bits;  // the rows in question
  };

  static const WordList& ListAt(const WordAxis& axis, std::int32_t i) {
    return axis.lists[i < axis.exact.count ? i : axis.exact.count - 1];
  }

  // What output columns i .. i + 3 read.
  static Span GroupSpan(const WordAxis& axis, std::int32_t i) {
    Span span = {axis.lists[i].pair, axis.lists[i].pair + axis.lists[i].pairs};
    for (std::int32_t n = i + 1; n < i + 4; ++n) span.Include(ListAt(axis, n));
    return span;
  }

  // Source pairs span.first .. span.end - 1 and perhaps one more, as zeros where the rows have ended.
  static void WeaveStretch(const std::uint8_t* const* rows, std::int32_t width, Span span,
                           std::uint8_t* out) {
    std::int32_t x = 2 * span.first;
    const std::int32_t end = 2 * span.end < width ? 2 * span.end : width;
    for (; end - x >= 16; x += 16) {
      // The same place of the rows that come next: the processor's own prefetching stops at every page.
      for (std::int32_t n = kBatchRows; n < 2 * kBatchRows; ++n)
        _mm_prefetch(reinterpret_cast<const char*>(PixelAt(rows[n], x)), _MM_HINT_T1);
      for (std::int32_t k = 0; k < 16; k += 4, out += 2 * kPairBytes) V::Weave(rows, x + k, out);
    }
    for (; width - x >= 4 && x < end; x += 4, out += 2 * kPairBytes) V::Weave(rows, x, out);
    if (x >= end) return;
    std::uint8_t last[kBatchRows][16] = {};
    const std::uint8_t* lastRows[kBatchRows];
    for (std::int32_t n = 0; n < kBatchRows; ++n) {
      __builtin_memcpy(last[n], PixelAt(rows[n], x), 4 * static_cast<std::uint32_t>(width - x));
      lastRows[n] = last[n];
    }
    V::Weave(lastRows, 0, out);
  }

  // Output columns i .. i + 3 of the eight rows.
  template <bool kWide>
  PIXMORPH_INLINE_MEMBER static void SumGroup(const FusedPlan& plan, const std::uint8_t* source,
                                              std::int32_t i, std::uint8_t* slot, Unsure& unsure) {
    const WordAxis& axis = plan.rowWords;
    Vec sums[4][kRowVectors];
    for (int n = 0; n < 4; ++n) {
      const WordList& list = ListAt(axis, i + n);
      SumColumn<kWide>(axis, list, source + kPairBytes * list.pair, sums[n]);
    }
    const WordRounding<V> rounding(axis.grades[ListAt(axis, i).grade]);
    const std::ptrdiff_t stride = PlaneStride(plan);
    std::uint8_t* out = slot + Slots::FourColumns(i);
    for (int n = 0; n < kRowVectors; ++n) {
      const int channel = n / kHalves, half = n % kHalves;
      const Vec columns[4] = {sums[0][n], sums[1][n], sums[2][n], sums[3][n]};
      // `Make` takes the place apart again: i is a multiple of 4.
      unsure.Add(4 * i + 4 * half + channel, V::Bits(rounding.Unsure(columns)));
      V::StoreRows(rounding.Bytes(columns), out + channel * Slots::kChannelBytes + 2 * half * stride, stride);
    }
  }

  template <bool kWide>
  PIXMORPH_INLINE_MEMBER static void SumColumn(const WordAxis& axis, const WordList& list,
                                               const std::uint8_t* source, Vec (&sums)[kRowVectors]) {
    const std::int32_t* words = axis.words + list.words;
    if (kWide) return SumColumnWide(words, list, source, sums);
    Vec own[kRowVectors];
    own[0] = V::Set(list.bias);
#pragma GCC unroll 8
    for (int n = 1; n < kRowVectors; ++n) own[n] = own[0];
    for (std::int32_t p = list.pairs; p > 0; --p, source += kPairBytes) {
      const Vec weights = V::Set(*words++);
#pragma GCC unroll 8
      for (int n = 0; n < kRowVectors; ++n) {
        own[n] = V::MultiplyAdd(V::LoadWords(source + V::kBytes * n), weights, own[n]);
        KeepInRegister(own[n]);
      }
    }
#pragma GCC unroll 8
    for (int n = 0; n < kRowVectors; ++n) sums[n] = own[n];
  }

  // Two vectors at a time, the last of an odd number with itself: more would need more registers than 32-bit
  // code has.
  PIXMORPH_INLINE_MEMBER static void SumColumnWide(const std::int32_t* words, const WordList& list,
                                                   const std::uint8_t* source, Vec (&sums)[kRowVectors]) {
    for (int n = 0; n < kRowVectors; n += 2) {
      const int other = n + 1 < kRowVectors ? n + 1 : n;
      WideSums<V> wide(list.bias);
      const std::uint8_t* at = source;
      for (std::int32_t p = 0; p < list.pairs; ++p, at += kPairBytes)
        wide.Add(V::LoadWords(at + V::kBytes * n), V::LoadWords(at + V::kBytes * other), words[p],
                 words[p + list.pairs]);
      sums[other] = wide.Second(), sums[n] = wide.First();
    }
  }

  // The columns behind the last are not there.
  static __attribute__((noinline)) void LookAgain(const FusedPlan& plan, const std::uint8_t* const* rows,
                                                  const std::uint8_t* source, FourRows what,
                                                  std::uint8_t* slot) {
    const WordAxis& axis = plan.rowWords;
    if (what.column >= axis.exact.count) return;
    const WordList& list = axis.lists[what.column];
    const std::ptrdiff_t stride = PlaneStride(plan);
    slot += Slots::FourColumns(what.column / 4 * 4) + 2 * (what.column % 4);
    slot += what.channel * Slots::kChannelBytes + 2 * what.half * stride;
    if (axis.wide) return PlainRows(plan, rows, what, slot);
    const std::uint8_t* at = source + kPairBytes * list.pair + kRowsBytes * what.channel + 16 * what.half;
    const std::int32_t *words = axis.words + list.words, *const end = words + list.pairs;
    SecondLook look(list.bias);
    for (; words < end; ++words, at += kPairBytes)
      look.Add(_mm_load_si128(reinterpret_cast<const __m128i*>(at)), *words, words[list.pairs]);
    what.bits &= look.Decide(axis.grades[list.grade], list.secondBias);
    const std::uint32_t bytes = look.Bytes();
    const auto low = static_cast<std::uint16_t>(bytes), high = static_cast<std::uint16_t>(bytes >> 16);
    __builtin_memcpy(slot, &low, 2);
    __builtin_memcpy(slot + stride, &high, 2);
    if (what.bits != 0) PlainRows(plan, rows, what, slot);
  }

  static void PlainRows(const FusedPlan& plan, const std::uint8_t* const* rows, const FourRows& what,
                        std::uint8_t* out) {
    const AxisWeights& exact = plan.rowWords.exact;
    ForEachBit(what.bits, [&](std::int32_t n) {
      const std::uint8_t* const first = PixelAt(rows[4 * what.half + n], exact.lists[what.column].first);
      const std::uint32_t pixel = ref::ResampledPixel(exact, what.column, first, 4);
      out[n / 2 * PlaneStride(plan) + n % 2] = static_cast<std::uint8_t>(pixel >> (8 * what.channel));
    });
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_ROWS_H_
