#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_COLUMNS_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_COLUMNS_H_

#include "kernels/registers.h"
#include "kernels/resample_plain_samples.h"
#include "kernels/resample_second_look.h"
#include "kernels/resample_word_rounding.h"

// The pass along the columns in products of 16-bit numbers.
namespace pixmorph::kernels {

namespace {

template <class V>
class WordColumns {
 public:
  // As `FusedPlan::alongColumns`.
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
    for (std::int32_t x = 0; x < width; x += Slots::kBlock, block += Slots::kBlockBytes) {
      Vec bytes[kChannels];
      if (!unsure.HasRoom(kChannels)) LookAgain(row, unsure);
        // The end of a short loop within a loop is hard to predict.
#pragma GCC unroll 3
      for (int c = 0; c < kChannels; ++c) {
        Vec sums[4];
        SumChannel(axis, list, block + c * Slots::kChannelBytes, stride, sums);
        // A place is the block's first pixel, a multiple of 4, and the channel.
        unsure.Add(static_cast<std::uint32_t>(x + c), V::Bits(rounding.Unsure(sums)));
        bytes[c] = rounding.Bytes(sums);
      }
      V::StoreBlock(bytes, out + 4 * static_cast<std::ptrdiff_t>(x), width - x, top);
    }
    LookAgain(row, unsure);
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
  PIXMORPH_INLINE_MEMBER static void SumChannel(const WordAxis& axis, const WordList& list,
                                                const std::uint8_t* source, std::ptrdiff_t stride,
                                                Vec (&sums)[4]) {
    const std::int32_t* words = axis.words + list.words;
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

  static __attribute__((noinline)) void LookAgain(const Row& row, Unsure& unsure) {
    const SecondLook again(row.plan.columnWords, row.list);
    const auto width = static_cast<std::uint32_t>(row.plan.rowWords.exact.count);
    const std::ptrdiff_t stride = PlaneStride(row.plan);
    const std::uint8_t* const planes = row.planes;
    std::uint8_t* const out = row.out;
    unsure.TakeAll([&](std::uint32_t place, std::uint32_t bit) {
      const std::uint32_t channel = place % 4, block = place - channel, x = block + V::ColumnOfBit(bit);
      // The columns behind the last are not there.
      if (x >= width) return;
      const std::uint8_t* const woven =
          planes + Slots::Block(block) + Slots::kChannelBytes * channel + 2 * V::PlaceOfBit(bit);
      const std::int32_t found =
          again.At([=](auto... pairs) { return WidenedPairs(woven + pairs * stride...); });
      out[4 * x + channel] = found == kOnlyPlainTells
                                 ? PlainColumnSample(row.plan.columnWords.exact, row.r, woven, stride)
                                 : static_cast<std::uint8_t>(found);
    });
  }

  // The two bytes at each of these.
  PIXMORPH_INLINE_MEMBER static __m128i WidenedPairs(const std::uint8_t* a, const std::uint8_t* b,
                                                     const std::uint8_t* c, const std::uint8_t* d) {
    __m128i bytes = _mm_cvtsi32_si128(TwoBytes(a));
    bytes = _mm_insert_epi16(bytes, TwoBytes(b), 1);
    bytes = _mm_insert_epi16(bytes, TwoBytes(c), 2);
    bytes = _mm_insert_epi16(bytes, TwoBytes(d), 3);
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
  }

  PIXMORPH_INLINE_MEMBER static __m128i WidenedPairs(const std::uint8_t* a) {
    return _mm_unpacklo_epi8(_mm_cvtsi32_si128(TwoBytes(a)), _mm_setzero_si128());
  }

  PIXMORPH_INLINE_MEMBER static std::int32_t TwoBytes(const std::uint8_t* p) {
    std::uint16_t both;
    __builtin_memcpy(&both, p, sizeof both);
    return both;
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_COLUMNS_H_
