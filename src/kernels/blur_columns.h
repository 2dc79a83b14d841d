#ifndef PIXMORPH_KERNELS_BLUR_COLUMNS_H_
#define PIXMORPH_KERNELS_BLUR_COLUMNS_H_

#include <string.h>

#include "kernels/blur_quotients.h"

// The blur down the columns over one of the vector types of vec_*.h.
namespace pixmorph::kernels {
namespace {

// Calls `block(offsetBytes, entering, leaving)` for each vector of the two source rows; the last one is
// filled up with bytes of no meaning, since nothing behind a row may be read.
template <class V, class Block>
PIXMORPH_INLINE void ForEachVector(std::int32_t width, const BlurSourceRows& rows, Block block) {
  const std::uint8_t* const entering = rows.entering;
  const std::uint8_t* const leaving = rows.leaving;
  const std::uint8_t* const soonEntering = rows.soonEntering;
  const std::uint8_t* const soonLeaving = rows.soonLeaving;
  const std::int32_t bytes = width * 4;
  std::int32_t at = 0;
  // A line is asked for once.
  constexpr std::int32_t kStep = V::kBytes < 64 ? 64 : V::kBytes;
  for (; at + kStep <= bytes; at += kStep) {
    V::Prefetch(soonEntering + at);
    V::Prefetch(soonLeaving + at);
    for (std::int32_t i = 0; i < kStep; i += V::kBytes)
      block(at + i, V::Load(entering + at + i), V::Load(leaving + at + i));
  }
  for (; at + V::kBytes <= bytes; at += V::kBytes) block(at, V::Load(entering + at), V::Load(leaving + at));
  if (at == bytes) return;
  alignas(64) std::uint8_t ends[2][V::kBytes] = {};
  const std::size_t left = static_cast<std::size_t>(bytes - at);
  memcpy(ends[0], entering + at, left);
  memcpy(ends[1], leaving + at, left);
  block(at, V::Load(ends[0]), V::Load(ends[1]));
}

template <class V>
PIXMORPH_INLINE void StartSums(const BlurPlan& plan, void* sums) {
  memset(sums, 0, static_cast<std::size_t>(BlurSumBytes(plan)));
  if (!plan.biased || plan.range != BlurRange::kNarrow) return;
  for (std::int64_t at = 0; at < BlurSumBytes(plan); at += V::kBytes)
    V::Set16(1).StoreAligned(static_cast<std::uint8_t*>(sums) + at);
}

// The row after next, where it usually is, will be wanted soon.
PIXMORPH_INLINE BlurSourceRows AddedRow(const BlurPlan& plan, const std::uint8_t* row) {
  const std::uintptr_t soon =
      reinterpret_cast<std::uintptr_t>(row) + static_cast<std::uintptr_t>(plan.width) * 8;
  return {row, row, reinterpret_cast<const std::uint8_t*>(soon), row};
}

// Sums lie in the order in which the vectors of a row are taken: two vectors of 16-bit sums, or four of
// 32-bit.
template <class V>
PIXMORPH_INLINE void AddRowNarrow(const BlurPlan& plan, void* sums, const std::uint8_t* row,
                                  std::int32_t times) {
  std::uint8_t* const first = static_cast<std::uint8_t*>(sums);
  const V factor = V::Set16(static_cast<std::int16_t>(times));
  ForEachVector<V>(plan.width, AddedRow(plan, row), [=](std::int32_t at, V pixels, V) {
    const V numbers[2] = {V::UnpackLow8(pixels), V::UnpackHigh8(pixels)};
    for (int half = 0; half < 2; ++half) {
      std::uint8_t* sum = first + at * 2 + half * V::kBytes;
      V::Add16(V::LoadAligned(sum), V::MulLow16(numbers[half], factor)).StoreAligned(sum);
    }
  });
}

template <class V, bool kOnce>
PIXMORPH_INLINE void AddRowWide(const BlurPlan& plan, void* sums, const std::uint8_t* row,
                                std::int32_t times) {
  std::uint8_t* const first = static_cast<std::uint8_t*>(sums);
  const V factor = V::Set32(static_cast<std::uint32_t>(times));
  ForEachVector<V>(plan.width, AddedRow(plan, row), [=](std::int32_t at, V pixels, V) {
    const V numbers[2] = {V::UnpackLow8(pixels), V::UnpackHigh8(pixels)};
    for (int half = 0; half < 2; ++half) {
      std::uint8_t* sum = first + at * 4 + half * 2 * V::kBytes;
      WideSums<V> box = {V::LoadAligned(sum), V::LoadAligned(sum + V::kBytes)};
      if (kOnce) {
        box.Add(numbers[half]);
      } else {
        box.even = V::Add32(box.even, V::MulSmall32(V::And(numbers[half], V::Set32(0xFFFF)), factor));
        box.odd = V::Add32(box.odd, V::MulSmall32(V::ShiftRight32(numbers[half], 16), factor));
      }
      box.even.StoreAligned(sum);
      box.odd.StoreAligned(sum + V::kBytes);
    }
  });
}

template <class V>
PIXMORPH_INLINE void AddRow(const BlurPlan& plan, void* sums, const std::uint8_t* row, std::int32_t times) {
  if (plan.range == BlurRange::kNarrow)
    AddRowNarrow<V>(plan, sums, row, times);
  else if (times == 1)
    AddRowWide<V, true>(plan, sums, row, times);
  else
    AddRowWide<V, false>(plan, sums, row, times);
}

// 16-bit sums: moved, divided and written.
template <class V, bool kShifted>
PIXMORPH_INLINE void NextRowNarrow(const BlurPlan& plan, std::uint8_t* to, void* sums,
                                   const BlurSourceRows& rows) {
  std::uint8_t* const first = static_cast<std::uint8_t*>(sums);
  const NarrowQuotient<V, kShifted> quotient(plan);
  const V tops = V::Set32(plan.top);
  ForEachVector<V>(plan.width, rows, [=](std::int32_t at, V in, V out) {
    std::uint8_t* sum = first + at * 2;
    Pair<V> change;
    V::Subtract8(in, out, &change.lo, &change.hi);
    const Pair<V> box = {V::Add16(V::LoadAligned(sum), change.lo),
                         V::Add16(V::LoadAligned(sum + V::kBytes), change.hi)};
    box.lo.StoreAligned(sum);
    box.hi.StoreAligned(sum + V::kBytes);
    V::WithTops(quotient.Pixels(box), tops).StoreAligned(to + at);
  });
}

// The box is longer than any one step, so that each step moves an average by one at most: the row that was
// written last is kept up to date by what is left over of the divisions, without dividing anew. What is left
// over stays within 0 .. box - 1 whatever the source does.
template <class V>
PIXMORPH_INLINE void NextRowWide(const BlurPlan& plan, std::uint8_t* to, void* leftOver,
                                 const BlurSourceRows& rows) {
  std::uint8_t* const first = static_cast<std::uint8_t*>(leftOver);
  const V box = V::Set16(static_cast<std::int16_t>(plan.box)),
          last = V::Set16(static_cast<std::int16_t>(plan.box - 1));
  const V tops = V::Set32(plan.top);
  ForEachVector<V>(plan.width, rows, [=](std::int32_t at, V in, V out) {
    V change[2], steps[2];
    V::Subtract8(in, out, &change[0], &change[1]);
    for (int half = 0; half < 2; ++half) {
      std::uint8_t* rest = first + at * 2 + half * V::kBytes;
      const V moved = V::Add16(V::LoadAligned(rest), change[half]);
      const V above = V::Greater16(moved, last), below = V::Greater16(V::Zero(), moved);
      V::Add16(V::Sub16(moved, V::And(above, box)), V::And(below, box)).StoreAligned(rest);
      steps[half] = V::Sub16(below, above);
    }
    const V pixels = V::Add8(V::LoadAligned(to + at), V::PackSigned16(steps[0], steps[1]));
    V::WithTops(pixels, tops).StoreAligned(to + at);
  });
}

template <class V>
PIXMORPH_INLINE void NextRowHuge(const BlurPlan& plan, std::uint8_t* to, void* sums,
                                 const BlurSourceRows& rows) {
  std::uint8_t* const first = static_cast<std::uint8_t*>(sums);
  const HugeQuotient<V> quotient(plan);
  const V tops = V::Set32(plan.top);
  ForEachVector<V>(plan.width, rows, [=](std::int32_t at, V in, V out) {
    V change[2], averages[2];
    V::Subtract8(in, out, &change[0], &change[1]);
    for (int half = 0; half < 2; ++half) {
      std::uint8_t* sum = first + at * 4 + half * 2 * V::kBytes;
      WideSums<V> box = {V::LoadAligned(sum), V::LoadAligned(sum + V::kBytes)};
      box.Add(change[half]);
      box.even.StoreAligned(sum);
      box.odd.StoreAligned(sum + V::kBytes);
      averages[half] = quotient.Of(box);
    }
    V::WithTops(V::Pack16(averages[0], averages[1]), tops).StoreAligned(to + at);
  });
}

// The first row's averages of 16-bit sums.
template <class V, bool kShifted>
PIXMORPH_INLINE void FirstRowNarrow(const BlurPlan& plan, std::uint8_t* to, const void* sums) {
  const NarrowQuotient<V, kShifted> quotient(plan);
  const V tops = V::Set32(plan.top);
  const std::uint8_t* sum = static_cast<const std::uint8_t*>(sums);
  for (std::int32_t at = 0; at < plan.width * 4; at += V::kBytes, sum += 2 * V::kBytes)
    V::WithTops(quotient.Pixels({V::LoadAligned(sum), V::LoadAligned(sum + V::kBytes)}), tops)
        .StoreAligned(to + at);
}

// Of 32-bit sums. What the divisions leave over takes the first half of the sums' memory, for `NextRowWide`.
template <class V, class Quotient, bool kLeavesOver>
PIXMORPH_INLINE void FirstRowWide(const BlurPlan& plan, std::uint8_t* to, void* sums) {
  std::uint8_t* const first = static_cast<std::uint8_t*>(sums);
  const Quotient quotient(plan);
  const V tops = V::Set32(plan.top), box16 = V::Set16(static_cast<std::int16_t>(plan.box));
  for (std::int32_t at = 0; at < plan.width * 4; at += V::kBytes) {
    V averages[2];
    for (int half = 0; half < 2; ++half) {
      const std::uint8_t* sum = first + at * 4 + half * 2 * V::kBytes;
      const WideSums<V> box = {V::LoadAligned(sum), V::LoadAligned(sum + V::kBytes)};
      averages[half] = quotient.Of(box);
      if (!kLeavesOver) continue;
      const V low = V::Or(V::And(box.even, V::Set32(0xFFFF)), V::ShiftLeft32(box.odd, 16));
      V::Sub16(low, V::MulLow16(averages[half], box16)).StoreAligned(first + at * 2 + half * V::kBytes);
    }
    V::WithTops(V::Pack16(averages[0], averages[1]), tops).StoreAligned(to + at);
  }
}

template <class V>
PIXMORPH_INLINE void FirstRow(const BlurPlan& plan, std::uint8_t* to, void* sums) {
  if (plan.range == BlurRange::kHuge)
    FirstRowWide<V, HugeQuotient<V>, false>(plan, to, sums);
  else if (plan.range == BlurRange::kWide)
    FirstRowWide<V, WideQuotient<V>, true>(plan, to, sums);
  else if (plan.shift)
    FirstRowNarrow<V, true>(plan, to, sums);
  else
    FirstRowNarrow<V, false>(plan, to, sums);
}

template <class V>
PIXMORPH_INLINE void NextRow(const BlurPlan& plan, std::uint8_t* to, void* sums, const BlurSourceRows& rows) {
  if (plan.range == BlurRange::kHuge)
    NextRowHuge<V>(plan, to, sums, rows);
  else if (plan.range == BlurRange::kWide)
    NextRowWide<V>(plan, to, sums, rows);
  else if (plan.shift)
    NextRowNarrow<V, true>(plan, to, sums, rows);
  else
    NextRowNarrow<V, false>(plan, to, sums, rows);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_BLUR_COLUMNS_H_
