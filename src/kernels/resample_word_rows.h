#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_ROWS_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_ROWS_H_

#include "kernels/registers.h"
#include "kernels/resample_plain_samples.h"
#include "kernels/resample_second_look.h"
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
      for (; i < end && i < count; i += 4) {
        if (!unsure.HasRoom(kRowVectors)) LookAgain(plan, rows, source, slot, unsure);
        SumGroup(plan, source, i, slot, unsure);
      }
      LookAgain(plan, rows, source, slot, unsure);
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
  PIXMORPH_INLINE_MEMBER static void SumGroup(const FusedPlan& plan, const std::uint8_t* source,
                                              std::int32_t i, std::uint8_t* slot, Unsure& unsure) {
    const WordAxis& axis = plan.rowWords;
    Vec sums[4][kRowVectors];
    for (int n = 0; n < 4; ++n) {
      const WordList& list = ListAt(axis, i + n);
      SumColumn(axis, list, source + kPairBytes * list.pair, sums[n]);
    }
    const WordRounding<V> rounding(axis.grades[ListAt(axis, i).grade]);
    const std::ptrdiff_t stride = PlaneStride(plan);
    std::uint8_t* out = slot + Slots::Column(i);
    for (int n = 0; n < kRowVectors; ++n) {
      const int channel = n / kHalves, half = n % kHalves;
      const Vec columns[4] = {sums[0][n], sums[1][n], sums[2][n], sums[3][n]};
      // A place is the first column, a multiple of 4, which half, and the channel.
      unsure.Add(static_cast<std::uint32_t>(4 * i + 4 * half + channel), V::Bits(rounding.Unsure(columns)));
      V::StoreRows(rounding.Bytes(columns), out + channel * Slots::kChannelBytes + 2 * half * stride, stride);
    }
  }

  PIXMORPH_INLINE_MEMBER static void SumColumn(const WordAxis& axis, const WordList& list,
                                               const std::uint8_t* source, Vec (&sums)[kRowVectors]) {
    const std::int32_t* words = axis.words + list.words;
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

  // In scratch memory pair 0 would be at `source`.
  static __attribute__((noinline)) void LookAgain(const FusedPlan& plan, const std::uint8_t* const* rows,
                                                  const std::uint8_t* source, std::uint8_t* slot,
                                                  Unsure& unsure) {
    const WordAxis axis = plan.rowWords;
    const std::ptrdiff_t stride = PlaneStride(plan);
    unsure.TakeAll([&](std::uint32_t place, std::uint32_t bit) {
      const auto column = static_cast<std::int32_t>(place / 16 * 4 + bit / 4 % 4);
      const auto channel = static_cast<std::int32_t>(place % 4);
      const auto row = static_cast<std::int32_t>(place / 4 % 4 * 4 + bit / 16 * 4 + bit % 4);
      // The columns behind the last are not there.
      if (column >= axis.exact.count) return;
      const WordList& list = axis.lists[column];
      const std::uint8_t* const woven = source + kPairBytes * list.pair + kRowsBytes * channel + 4 * row;
      const std::int32_t found =
          SecondLook(axis, list).At([=](auto... pairs) { return Pairs(woven + kPairBytes * pairs...); });
      slot[Slots::Column(column) + Slots::kChannelBytes * channel + row / 2 * stride + row % 2] =
          found == kOnlyPlainTells ? PlainRowSample(axis.exact, column, rows[row], channel)
                                   : static_cast<std::uint8_t>(found);
    });
  }

  // The two samples at each of these.
  PIXMORPH_INLINE_MEMBER static __m128i Pairs(const std::uint8_t* a, const std::uint8_t* b,
                                              const std::uint8_t* c, const std::uint8_t* d) {
    return _mm_set_epi32(TwoWords(d), TwoWords(c), TwoWords(b), TwoWords(a));
  }

  PIXMORPH_INLINE_MEMBER static __m128i Pairs(const std::uint8_t* a) {
    return _mm_cvtsi32_si128(TwoWords(a));
  }

  PIXMORPH_INLINE_MEMBER static std::int32_t TwoWords(const std::uint8_t* p) {
    std::int32_t both;
    __builtin_memcpy(&both, p, sizeof both);
    return both;
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_ROWS_H_
