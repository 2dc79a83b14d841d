#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_COLUMNS_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_COLUMNS_H_

#include "kernels/registers.h"
#include "kernels/resample_second_look.h"
#include "kernels/resample_wide_sums.h"
#include "kernels/resample_word_rounding.h"

// The pass along the columns in products of 16-bit numbers.
namespace pixmorph::kernels {

namespace {

template <class V>
class WordColumns {
 public:
  // As `FusedPlan::alongColumns`.
  template <bool kWide>
  static void Make(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots, std::uint8_t* out,
                   std::uint32_t top) {
    const WordAxis& axis = plan.columnWords;
    const WordList& list = axis.lists[r];
    const Row row = {plan, list, r, slots + list.pair % kPlanes * PlaneStride(plan), out, top};
    const WordRounding<V> rounding(axis.grades[list.grade]);
    const std::int32_t width = plan.rowWords.exact.count;
    const std::ptrdiff_t stride = PlaneStride(plan);
    const std::uint8_t* block = row.planes;
    Unsure unsure;
    // A place is the block's first pixel, a multiple of 4, and the channel.
    const auto look = [&row](std::int32_t place, std::int32_t group, std::uint32_t bits) {
      LookAgain(row, place / 4 * 4 + V::PixelsOfGroup(group), place % 4, bits);
    };
    for (std::int32_t x = 0; x < width; x += Slots::kBlock, block += Slots::kBlockBytes) {
      Vec bytes[kChannels];
      if (!unsure.HasRoom(kChannels)) unsure.TakeAll(look);
        // The end of a short loop within a loop is hard to predict.
#pragma GCC unroll 3
      for (int c = 0; c < kChannels; ++c) {
        Vec sums[4];
        SumChannel<kWide>(axis, list, block + c * Slots::kChannelBytes, stride, sums);
        unsure.Add(x + c, V::Bits(rounding.Unsure(sums)));
        bytes[c] = rounding.Bytes(sums);
      }
      V::StoreBlock(bytes, out + 4 * static_cast<std::ptrdiff_t>(x), width - x, top);
    }
    unsure.TakeAll(look);
  }

 private:
  using Vec = typename V::Vec;
  using Slots = WordSlots<V>;

  struct Row {
    const FusedPlan& plan;
    const WordList& list;
    std::int32_t r;
    const std::uint8_t* planes;  // from the list's first on
    std::uint8_t* out;
    std::uint32_t top;
  };

  // One channel of a block.
  template <bool kWide>
  PIXMORPH_INLINE_MEMBER static void SumChannel(const WordAxis& axis, const WordList& list,
                                                const std::uint8_t* source, std::ptrdiff_t stride,
                                                Vec (&sums)[4]) {
    const std::int32_t* words = axis.words + list.words;
    if (kWide) {
      SumTwoVectors(words, list, source, stride, sums[0], sums[1]);
      return SumTwoVectors(words, list, source + V::kBytes, stride, sums[2], sums[3]);
    }
    Vec a = V::Set(list.bias), b = a, c = a, d = a;
    for (std::int32_t p = list.pairs; p > 0; --p, source += stride) {
      const Vec weights = V::Set(*words++);
      const typename V::Widened low(source);
      a = V::MultiplyAdd(low.First(), weights, a), b = V::MultiplyAdd(low.Second(), weights, b);
      KeepInRegisters(a, b, c, d);
      const typename V::Widened high(source + V::kBytes);
      c = V::MultiplyAdd(high.First(), weights, c), d = V::MultiplyAdd(high.Second(), weights, d);
      KeepInRegisters(a, b, c, d);
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

  // One channel of four pixels from x on, a multiple of 4; `bits` says which of them are in question. Those
  // behind the last are not there.
  static __attribute__((noinline)) void LookAgain(const Row& row, std::int32_t x, std::int32_t channel,
                                                  std::uint32_t bits) {
    const std::int32_t count = row.plan.rowWords.exact.count - x;
    if (count <= 0) return;
    if (count < 4) bits &= (1u << count) - 1;
    const WordAxis& axis = row.plan.columnWords;
    const std::uint8_t* const woven = row.planes + Slots::FourColumns(x) + channel * Slots::kChannelBytes;
    std::uint8_t* const out = row.out + 4 * static_cast<std::ptrdiff_t>(x) + channel;
    if (axis.wide) return PlainSamples(row, woven, bits, out);
    const std::ptrdiff_t stride = PlaneStride(row.plan);
    const std::int32_t *words = axis.words + row.list.words, *const end = words + row.list.pairs;
    SecondLook look(row.list.bias);
    for (const std::uint8_t* at = woven; words < end; ++words, at += stride) {
      const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(at));
      look.Add(_mm_unpacklo_epi8(bytes, _mm_setzero_si128()), *words, words[row.list.pairs]);
    }
    const std::uint32_t unknown = look.Decide(axis.grades[row.list.grade], row.list.secondBias) & bits;
    const std::uint32_t found = look.Bytes();
    for (std::int32_t n = 0; n < 4; ++n)
      if (n < count) out[4 * n] = static_cast<std::uint8_t>(found >> (8 * n));
    if (unknown != 0) PlainSamples(row, woven, unknown, out);
  }

  // The plain evaluation over woven rows.
  static void PlainSamples(const Row& row, const std::uint8_t* woven, std::uint32_t bits, std::uint8_t* out) {
    const AxisWeights& exact = row.plan.columnWords.exact;
    const WeightList& list = exact.lists[row.r];
    const WeightBlock& block = exact.blocks[list.block];
    ForEachBit(bits, [&](std::int32_t n) {
      double sum = 0.0;
      for (std::int32_t t = 0; t < block.count; ++t) {
        const std::int32_t at = list.first % 2 + t;
        sum += static_cast<double>(exact.weights[block.offset + t]) *
               woven[at / 2 * PlaneStride(row.plan) + 2 * n + at % 2];
      }
      out[4 * n] = ref::ResampledChannel(sum, block.sum);
    });
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_COLUMNS_H_
