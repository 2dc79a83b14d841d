#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_SIMD_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_SIMD_H_

#include <emmintrin.h>

#include "kernels/resample_kernel.h"
#include "kernels/resample_second_look.h"

// Both passes in products of 16-bit numbers, over a vector type V of V::kPixels pixels with four 32-bit sums
// each. A slot holds four intermediate rows as two planes of woven rows: 8 bytes a pixel, channel by channel,
// each with the bytes of the plane's two rows. So all planes of contiguous slots are equally far apart, and
// one is a pair of vertical taps.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kBatchRows = 4;
constexpr std::int32_t kPlanePixels = 16;             // planes are padded to a multiple of this many pixels
constexpr std::int32_t kPairBytes = 16 * kBatchRows;  // of a pair of source pixels, woven
constexpr std::int32_t kStretchPairs = 256;           // 16 KiB
constexpr std::uint32_t kColourBits = 0x77777777;  // of pixels with four bits each; the top byte is nobody's

PIXMORPH_INLINE std::ptrdiff_t PlaneStride(const FusedPlan& plan) {
  return static_cast<std::ptrdiff_t>(plan.slotBytes / 2);
}

// The two sums of two vectors with wide weights.
template <class V>
class WideSums {
 public:
  using Vec = typename V::Vec;

  PIXMORPH_INLINE_MEMBER explicit WideSums(std::int32_t bias)
      : a_(V::Set(0)), b_(a_), fineA_(V::Set(bias)), fineB_(fineA_) {}
  // One weight after the other, so that eight registers do.
  PIXMORPH_INLINE_MEMBER void Add(Vec a, Vec b, std::int32_t word, std::int32_t fineWord) {
    Vec weights = V::Set(word);
    a_ = V::MultiplyAdd(a, weights, a_);
    b_ = V::MultiplyAdd(b, weights, b_);
    weights = V::Set(fineWord);
    fineA_ = V::MultiplyAdd(a, weights, fineA_);
    fineB_ = V::MultiplyAdd(b, weights, fineB_);
  }
  PIXMORPH_INLINE_MEMBER Vec First() const { return V::Joined(a_, fineA_); }
  PIXMORPH_INLINE_MEMBER Vec Second() const { return V::Joined(b_, fineB_); }

 private:
  Vec a_, b_, fineA_, fineB_;
};

template <class V>
class WordPasses {
 public:
  static std::int64_t PlanBytes(const AxisWeights& row, const AxisWeights& column) {
    return ByteSize(WordsBytes(row)).Plus(WordsBytes(column)).Bytes();
  }

  static bool Plan(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
    auto* const columnMemory = static_cast<std::uint8_t*>(memory) + WordsBytes(row);
    if (!PackWords(row, V::kUnsureAPair, memory, plan.rowWords)) return false;
    if (!PackWords(column, V::kUnsureAPair, columnMemory, plan.columnWords)) return false;
    plan.alongRows = plan.rowWords.wide ? AlongRows<true> : AlongRows<false>;
    plan.alongColumns = plan.columnWords.wide ? AlongColumns<true> : AlongColumns<false>;
    plan.batchRows = kBatchRows;
    plan.slotBytes =
        (row.count + kPlanePixels - 1) / kPlanePixels * kPlanePixels * std::int64_t{4 * kBatchRows};
    std::int32_t longest = kStretchPairs;
    for (std::int32_t i = 0; i < row.count; i += 4) {
      const Span span = GroupSpan(plan.rowWords, i);
      if (span.end - span.first > longest) longest = span.end - span.first;
    }
    plan.scratchBytes = kPairBytes * (std::int64_t{longest} + 1);
    return true;
  }

 private:
  using Vec = typename V::Vec;
  static constexpr int kRowVectors = kBatchRows / V::kPixels;  // of one pair or column of all four rows

  // Pairs of source pixels.
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
      for (std::int32_t n = 0; n < kBatchRows; ++n)
        _mm_prefetch(reinterpret_cast<const char*>(At(rows[kBatchRows + n], x)), _MM_HINT_T1);
      for (std::int32_t k = 0; k < 16; k += 4, out += 2 * kPairBytes)
        V::Weave(At(rows[0], x + k), At(rows[1], x + k), At(rows[2], x + k), At(rows[3], x + k), out);
    }
    for (; width - x >= 4 && x < end; x += 4, out += 2 * kPairBytes)
      V::Weave(At(rows[0], x), At(rows[1], x), At(rows[2], x), At(rows[3], x), out);
    if (x >= end) return;
    alignas(16) std::uint8_t last[kBatchRows][16] = {};
    for (std::int32_t n = 0; n < kBatchRows; ++n)
      __builtin_memcpy(last[n], At(rows[n], x), 4 * static_cast<std::uint32_t>(width - x));
    V::Weave(last[0], last[1], last[2], last[3], out);
  }

  PIXMORPH_INLINE_MEMBER static const std::uint8_t* At(const std::uint8_t* row, std::int32_t x) {
    return row + 4 * static_cast<std::ptrdiff_t>(x);
  }

  template <bool kWide>
  static void AlongRows(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t* scratch,
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
      const std::uint8_t* const source = scratch - kPairBytes * static_cast<std::ptrdiff_t>(span.first);
      const auto look = [&](std::int32_t place, std::int32_t pixel) {
        LookAgainAtColumn(plan, rows, source, place / 4 * 4 + pixel % 4, place % 4 + pixel / 4, slot);
      };
      for (; i < end && i < count; i += 4) {
        if (!unsure.HasRoom(kRowVectors)) unsure.TakeAll(look);
        SumGroup<kWide>(plan, source, i, slot, unsure);
      }
      unsure.TakeAll(look);
    }
  }

  // Output columns i .. i + 3 of the four rows.
  template <bool kWide>
  PIXMORPH_INLINE_MEMBER static void SumGroup(const FusedPlan& plan, const std::uint8_t* source,
                                              std::int32_t i, std::uint8_t* slot, Unsure& unsure) {
    const WordAxis& axis = plan.rowWords;
    Vec sums[4][kRowVectors];
    for (int n = 0; n < 4; ++n) {
      const WordList& list = ListAt(axis, i + n);
      SumColumn<kWide>(axis, list, source + kPairBytes * static_cast<std::ptrdiff_t>(list.pair), sums[n]);
    }
    const typename V::Rounding rounding(axis.grades[ListAt(axis, i).grade]);
    Vec bytes[kRowVectors];
    for (int n = 0; n < kRowVectors; ++n) {
      const Vec columns[4] = {sums[0][n], sums[1][n], sums[2][n], sums[3][n]};
      unsure.Add(i + n * V::kPixels, V::Bits(rounding.Unsure(columns)));
      bytes[n] = rounding.Bytes(columns);
    }
    V::StoreWoven(bytes, slot + 8 * static_cast<std::ptrdiff_t>(i), PlaneStride(plan));
  }

  template <bool kWide>
  PIXMORPH_INLINE_MEMBER static void SumColumn(const WordAxis& axis, const WordList& list,
                                               const std::uint8_t* source, Vec (&sums)[kRowVectors]) {
    const std::int32_t* words = axis.words + list.words;
    for (int n = 0; kWide && n < kRowVectors; n += 2)
      SumTwoVectors(words, list, source + V::kBytes * n, sums[n], sums[n + 1]);
    if (kWide) return;
    for (int n = 0; n < kRowVectors; ++n) sums[n] = V::Set(list.bias);
    for (std::int32_t p = list.pairs; p > 0; --p, source += kPairBytes) {
      const Vec weights = V::Set(*words++);
      for (int n = 0; n < kRowVectors; ++n)
        sums[n] = V::MultiplyAdd(V::LoadWords(source + V::kBytes * n), weights, sums[n]);
    }
  }

  // With wide weights; more at a time would need more registers than 32-bit code has.
  PIXMORPH_INLINE_MEMBER static void SumTwoVectors(const std::int32_t* words, const WordList& list,
                                                   const std::uint8_t* source, Vec& a, Vec& b) {
    WideSums<V> sums(list.bias);
    for (std::int32_t p = 0; p < list.pairs; ++p, source += kPairBytes)
      sums.Add(V::LoadWords(source), V::LoadWords(source + V::kBytes), words[p], words[p + list.pairs]);
    a = sums.First(), b = sums.Second();
  }

  // Output column i of row n. The four columns behind the last are not there.
  static __attribute__((noinline)) void LookAgainAtColumn(const FusedPlan& plan,
                                                          const std::uint8_t* const* rows,
                                                          const std::uint8_t* source, std::int32_t i,
                                                          std::int32_t n, std::uint8_t* slot) {
    const WordAxis& axis = plan.rowWords;
    if (i >= axis.exact.count) return;
    const WordList& list = axis.lists[i];
    const auto* at = reinterpret_cast<const __m128i*>(
        source + kPairBytes * static_cast<std::ptrdiff_t>(list.pair) + 16 * static_cast<std::ptrdiff_t>(n));
    const std::int32_t *words = axis.words + list.words, *const end = words + list.pairs;
    __m128i sums = _mm_set1_epi32(list.bias), second = _mm_setzero_si128();
    for (; words < end; ++words, at += kBatchRows) {
      const __m128i pixels = _mm_load_si128(at);
      sums = _mm_add_epi32(sums, _mm_madd_epi16(pixels, _mm_set1_epi32(*words)));
      second = _mm_add_epi32(second, _mm_madd_epi16(pixels, _mm_set1_epi32(words[list.pairs])));
    }
    const bool sure = !axis.wide && LookAgain(axis, list, sums, second);
    const std::uint32_t pixel =
        sure ? AsPixel(sums) : ref::ResampledPixel(axis.exact, i, At(rows[n], axis.exact.lists[i].first), 4);
    std::uint8_t* const out = slot + n / 2 * PlaneStride(plan) + 8 * static_cast<std::ptrdiff_t>(i) + n % 2;
    for (int k = 0; k < 3; ++k) out[2 * k] = static_cast<std::uint8_t>(pixel >> (8 * k));
  }

  template <bool kWide>
  static void AlongColumns(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots,
                           std::uint8_t* out, std::uint32_t top) {
    const WordAxis& axis = plan.columnWords;
    const WordList& list = axis.lists[r];
    const std::ptrdiff_t stride = PlaneStride(plan);
    const std::uint8_t* const planes = slots + list.pair % (kBatchRows / 2) * stride;
    const typename V::Rounding rounding(axis.grades[list.grade]);
    const std::int32_t width = plan.rowWords.exact.count;
    constexpr std::int32_t kStep = 4 * V::kPixels;
    Unsure unsure;
    const auto look = [&](std::int32_t x, std::int32_t pixel) {
      if (x + pixel >= width) return;
      x += pixel;
      LookAgainAtPixel(plan, r, planes + 8 * static_cast<std::ptrdiff_t>(x),
                       out + 4 * static_cast<std::ptrdiff_t>(x), top);
    };
    for (std::int32_t x = 0; x < width; x += kStep) {
      Vec sums[4];
      SumPixels<kWide>(axis, list, planes + 8 * static_cast<std::ptrdiff_t>(x), stride, sums);
      if (!unsure.HasRoom(1)) unsure.TakeAll(look);
      unsure.Add(x, V::Bits(V::InOrder(rounding.Unsure(sums))));
      V::StorePixels(V::InOrder(rounding.Bytes(sums)), out + 4 * static_cast<std::ptrdiff_t>(x), width - x,
                     top);
    }
    unsure.TakeAll(look);
  }

  template <bool kWide>
  PIXMORPH_INLINE_MEMBER static void SumPixels(const WordAxis& axis, const WordList& list,
                                               const std::uint8_t* source, std::ptrdiff_t stride,
                                               Vec (&sums)[4]) {
    const std::int32_t* words = axis.words + list.words;
    if (kWide) {
      SumTwoVectors(words, list, source, stride, sums[0], sums[1]);
      return SumTwoVectors(words, list, source + 16 * V::kPixels, stride, sums[2], sums[3]);
    }
    Vec a = V::Set(list.bias), b = a, c = a, d = a;
    for (std::int32_t p = list.pairs; p > 0; --p, source += stride) {
      const Vec weights = V::Set(*words++);
      const typename V::Widened low(source), high(source + 16 * V::kPixels);
      a = V::MultiplyAdd(low.First(), weights, a), b = V::MultiplyAdd(low.Second(), weights, b);
      c = V::MultiplyAdd(high.First(), weights, c), d = V::MultiplyAdd(high.Second(), weights, d);
    }
    sums[0] = a, sums[1] = b, sums[2] = c, sums[3] = d;
  }

  PIXMORPH_INLINE_MEMBER static void SumTwoVectors(const std::int32_t* words, const WordList& list,
                                                   const std::uint8_t* source, std::ptrdiff_t stride, Vec& a,
                                                   Vec& b) {
    WideSums<V> sums(list.bias);
    for (std::int32_t p = 0; p < list.pairs; ++p, source += stride) {
      const typename V::Widened pixels(source);
      sums.Add(pixels.First(), pixels.Second(), words[p], words[p + list.pairs]);
    }
    a = sums.First(), b = sums.Second();
  }

  // One pixel of row r; `woven` is its place in the first plane.
  static __attribute__((noinline)) void LookAgainAtPixel(const FusedPlan& plan, std::int32_t r,
                                                         const std::uint8_t* woven, std::uint8_t* out,
                                                         std::uint32_t top) {
    const WordAxis& axis = plan.columnWords;
    const WordList& list = axis.lists[r];
    const std::ptrdiff_t stride = PlaneStride(plan);
    const std::int32_t *words = axis.words + list.words, *const end = words + list.pairs;
    const std::uint8_t* plane = woven;
    __m128i sums = _mm_set1_epi32(list.bias), second = _mm_setzero_si128();
    for (; words < end; ++words, plane += stride) {
      const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(plane));
      const __m128i pixels = _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
      sums = _mm_add_epi32(sums, _mm_madd_epi16(pixels, _mm_set1_epi32(*words)));
      second = _mm_add_epi32(second, _mm_madd_epi16(pixels, _mm_set1_epi32(words[list.pairs])));
    }
    const bool sure = !axis.wide && LookAgain(axis, list, sums, second);
    const std::uint32_t pixel = sure ? AsPixel(sums) : PlainPixel(axis.exact, r, woven, stride);
    _mm_storeu_si32(out, _mm_cvtsi32_si128(static_cast<std::int32_t>((pixel & 0x00FFFFFFu) | top)));
  }

  // The plain evaluation over woven rows, the first of which lies in the plane at `woven`.
  static std::uint32_t PlainPixel(const AxisWeights& axis, std::int32_t r, const std::uint8_t* woven,
                                  std::ptrdiff_t stride) {
    const WeightList& list = axis.lists[r];
    const WeightBlock& block = axis.blocks[list.block];
    std::uint32_t pixel = 0;
    for (std::int32_t c = 0; c < 3; ++c) {
      double sum = 0.0;
      for (std::int32_t t = 0; t < block.count; ++t) {
        const std::int32_t row = list.first % 2 + t;
        sum +=
            static_cast<double>(axis.weights[block.offset + t]) * woven[row / 2 * stride + 2 * c + row % 2];
      }
      pixel |= std::uint32_t{ref::ResampledChannel(sum, block.sum)} << (8 * c);
    }
    return pixel;
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_SIMD_H_
