#ifndef PIXMORPH_KERNELS_BLUR_SIMD_H_
#define PIXMORPH_KERNELS_BLUR_SIMD_H_

#include <string.h>

#include "kernels/blur_kernel.h"

// The blur over one of the vector types of vec_*.h. Included by the files of the instruction sets only.
//
// Four pixels fill 16 bytes. Unpacked to 16 bits within each 16 bytes they fill a pair of vectors, `lo` with
// the first two pixels of every four and `hi` with the last two; packing such a pair puts them back in order.
namespace pixmorph::kernels {
namespace {

template <class V>
struct Pair {
  V lo, hi;
};

// 16-bit sums -> averages, packed to pixels.
template <class V, bool kShifted>
struct NarrowQuotient {
  explicit NarrowQuotient(const BlurPlan& plan)
      : factor(V::Set16(static_cast<std::int16_t>(plan.factor))), shift(plan.shift) {}
  PIXMORPH_INLINE_MEMBER V Of(V sums) const {
    const V high = V::MulHigh16(sums, factor);
    return kShifted ? V::ShiftRight16(high, shift) : high;
  }
  PIXMORPH_INLINE_MEMBER V Pixels(const Pair<V>& sums) const { return V::Pack16(Of(sums.lo), Of(sums.hi)); }
  V factor;
  int shift;
};

// 32-bit sums of the even and of the odd 16-bit lanes.
template <class V>
struct WideSums {
  V even, odd;
  // Adds 16-bit numbers, each to its 32-bit sum.
  PIXMORPH_INLINE_MEMBER void Add(V numbers) {
    even = V::AddPairs16(even, numbers, V::Set32(0x00000001));
    odd = V::AddPairs16(odd, numbers, V::Set32(0x00010000));
  }
};

template <class V>
struct WideQuotient {
  explicit WideQuotient(const BlurPlan& plan)
      : inverse(V::SetFloat(plan.inverse)), shiftedInverse(V::SetFloat(plan.inverse * 65536)) {}
  PIXMORPH_INLINE_MEMBER V Of(const WideSums<V>& sums) const {
    const V even = V::Truncate32(V::MulFloat(V::ToFloat32(sums.even), inverse));
    const V odd = V::Truncate32(V::MulFloat(V::ToFloat32(sums.odd), shiftedInverse));
    return V::Or(even, V::And(odd, V::Set32(0xFFFF0000)));
  }
  V inverse, shiftedInverse;
};

template <class V>
struct HugeQuotient {
  explicit HugeQuotient(const BlurPlan& plan) : factor(V::Set32(plan.factor)), shift(plan.shift) {}
  PIXMORPH_INLINE_MEMBER V Of(V sums) const {
    const V low = V::ShiftRight64(V::MulEven32(sums, factor), 32 + shift);
    const V high = V::ShiftRight64(V::MulEven32(V::ShiftRight64(sums, 32), factor), shift);
    return V::Or(low, V::And(high, V::Set64(0xFFFFFFFF00000000u)));
  }
  PIXMORPH_INLINE_MEMBER V Of(const WideSums<V>& sums) const {
    return V::Or(Of(sums.even), V::ShiftLeft32(Of(sums.odd), 16));
  }
  V factor;
  int shift;
};

// ---- down the columns

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
  for (; at + V::kBytes <= bytes; at += V::kBytes) {
    V::Prefetch(soonEntering + at);
    V::Prefetch(soonLeaving + at);
    block(at, V::Load(entering + at), V::Load(leaving + at));
  }
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
  if (!plan.biased) return;
  for (std::int64_t at = 0; at < BlurSumBytes(plan); at += V::kBytes)
    V::Set16(1).StoreAligned(static_cast<std::uint8_t*>(sums) + at);
}

// Sums lie in the order in which the vectors of a row are taken: two vectors of 16-bit sums, or four of
// 32-bit.
// Sums lie in the order in which the vectors of a row are taken: two vectors of 16-bit sums, or four of
// 32-bit.
template <class V>
PIXMORPH_INLINE void AddRowNarrow(const BlurPlan& plan, void* sums, const std::uint8_t* row,
                                  std::int32_t times) {
  std::uint8_t* const first = static_cast<std::uint8_t*>(sums);
  const V factor = V::Set16(static_cast<std::int16_t>(times));
  ForEachVector<V>(plan.width, {row, row, row, row}, [=](std::int32_t at, V pixels, V) {
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
  ForEachVector<V>(plan.width, {row, row, row, row}, [=](std::int32_t at, V pixels, V) {
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

// The edge pixels' copies on either side of an intermediate row; whole vectors, for which there is room.
template <class V>
PIXMORPH_INLINE void PadRow(const BlurPlan& plan, std::uint8_t* row) {
  std::uint32_t edges[2];
  memcpy(&edges[0], row, 4);
  memcpy(&edges[1], row + (plan.width - 1) * 4, 4);
  const V left = V::Set32(edges[0]), right = V::Set32(edges[1]);
  for (std::int32_t at = 0; at < plan.padding * 4; at += V::kBytes) {
    left.Store(row - at - V::kBytes);
    right.Store(row + plan.width * 4 + at);
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

// ---- along a row

// Running sums within one vector of pixels, all 16 bits: 16 pixels' differences stay below 2^12.
template <class V>
struct Prefix {
  Pair<V> before;  // of each pixel and those in front of it in its group of four
  V groups;        // of all groups of four in front of it
  V total;         // of the whole vector, for every pixel
};

template <class V>
PIXMORPH_INLINE Prefix<V> RunningSums(V in, V out) {
  Prefix<V> p;
  V::Subtract8(in, out, &p.before.lo, &p.before.hi);
  p.before.lo = V::Add16(p.before.lo, V::ShiftUpPixel16(p.before.lo));
  p.before.hi = V::Add16(p.before.hi, V::ShiftUpPixel16(p.before.hi));
  p.before.hi = V::Add16(p.before.hi, V::LastPixel16(p.before.lo));
  const V group = V::LastPixel16(p.before.hi);
  p.groups = V::SumOfEarlierGroups16(group);
  p.total = V::LastGroup(V::Add16(p.groups, group));
  return p;
}

template <class V, bool kShifted>
struct NarrowRow {
  NarrowRow(const BlurPlan& plan, const std::uint32_t (&start)[4])
      : quotient(plan),
        carry(V::Set64((start[0] & 0xFFFF) | start[1] << 16 |
                       static_cast<std::uint64_t>((start[2] & 0xFFFF) | start[3] << 16) << 32)) {}
  PIXMORPH_INLINE_MEMBER V Next(V in, V out) {
    const Prefix<V> p = RunningSums(in, out);
    const V base = V::Add16(carry, p.groups);
    carry = V::Add16(carry, p.total);
    return quotient.Pixels({V::Add16(p.before.lo, base), V::Add16(p.before.hi, base)});
  }
  NarrowQuotient<V, kShifted> quotient;
  V carry;
};

template <class V, class Quotient>
struct WideRow {
  WideRow(const BlurPlan& plan, const std::uint32_t (&start)[4])
      : quotient(plan),
        carry{V::Set64(start[0] | static_cast<std::uint64_t>(start[2]) << 32),
              V::Set64(start[1] | static_cast<std::uint64_t>(start[3]) << 32)} {}
  PIXMORPH_INLINE_MEMBER V Next(V in, V out) {
    const Prefix<V> p = RunningSums(in, out);
    WideSums<V> lo = carry, hi = carry;
    lo.Add(V::Add16(p.before.lo, p.groups));
    hi.Add(V::Add16(p.before.hi, p.groups));
    carry.Add(p.total);
    return V::Pack16(quotient.Of(lo), quotient.Of(hi));
  }
  Quotient quotient;
  WideSums<V> carry;
};

// Sums of the box around the pixel before pixel `first` (0 or less): blue, green, red, top.
template <class V>
PIXMORPH_INLINE void SumsBefore(const BlurPlan& plan, const std::uint8_t* row, std::int32_t first,
                                std::uint32_t (&sums)[4]) {
  // The box covers pixels up to radius + first - 1, those beyond the edges being copies of the edge pixels.
  const std::int32_t end = plan.radius + first;
  const std::int32_t inside = end < 0 ? 0 : end < plan.width ? end : plan.width;
  const std::int32_t behind = end > plan.width ? end - plan.width : 0;
  const std::int32_t inFront = plan.box - inside - behind;
  const std::uint8_t* last = row + (plan.width - 1) * 4;
  for (int c = 0; c < 3; ++c)
    sums[c] = static_cast<std::uint32_t>(row[c] * inFront + last[c] * behind + (plan.biased ? 1 : 0));
  sums[3] = (plan.top >> 24) * static_cast<std::uint32_t>(plan.box) + (plan.biased ? 1 : 0);
  std::int32_t x = 0;
  V blue = V::Zero(), green = V::Zero(), red = V::Zero();
  for (; x + V::kPixels <= inside; x += V::kPixels) {
    const V pixels = V::Load(row + x * 4);
    blue = V::Add32(blue, V::SumBytes(V::And(pixels, V::Set32(0x0000FF))));
    green = V::Add32(green, V::SumBytes(V::And(pixels, V::Set32(0x00FF00))));
    red = V::Add32(red, V::SumBytes(V::And(pixels, V::Set32(0xFF0000))));
  }
  sums[0] += V::SumEven32(blue);
  sums[1] += V::SumEven32(green);
  sums[2] += V::SumEven32(red);
  for (; x < inside; ++x)
    for (int c = 0; c < 3; ++c) sums[c] += row[x * 4 + c];
}

template <class V>
PIXMORPH_INLINE void CopyPixels(std::uint8_t* to, V pixels, std::int32_t from, std::int32_t count) {
  alignas(64) std::uint8_t bytes[V::kBytes];
  pixels.StoreAligned(bytes);
  memcpy(to, bytes + from * 4, static_cast<std::size_t>(count) * 4);
}

// Vectors are taken so that the stores to the result are aligned: the first one may begin up to a vector
// before the row, which the padding allows for.
template <class V, class Row>
PIXMORPH_INLINE void AverageRowBy(const BlurPlan& plan, std::uint8_t* to, std::uint8_t* from) {
  PadRow<V>(plan, from);
  const std::uintptr_t misalignment = reinterpret_cast<std::uintptr_t>(to) % V::kBytes;
  const bool aligned = misalignment % 4 == 0;
  std::int32_t x = aligned ? -static_cast<std::int32_t>(misalignment / 4) : 0;
  std::uint32_t start[4];
  SumsBefore<V>(plan, from, x, start);
  Row row(plan, start);
  const std::uint8_t* in = from + plan.reach * 4;
  const std::uint8_t* out = from - (plan.reach + 1) * 4;
  const auto next = [&](std::int32_t at) { return row.Next(V::Load(in + at * 4), V::Load(out + at * 4)); };
  if (x < 0) {
    const std::int32_t end = x + V::kPixels < plan.width ? x + V::kPixels : plan.width;
    CopyPixels<V>(to, next(x), -x, end);
    x += V::kPixels;
  }
  if (aligned && plan.streaming) {
    for (; x + V::kPixels <= plan.width; x += V::kPixels) next(x).Stream(to + x * 4);
  } else {
    for (; x + V::kPixels <= plan.width; x += V::kPixels) next(x).Store(to + x * 4);
  }
  if (x < plan.width) CopyPixels<V>(to + x * 4, next(x), 0, plan.width - x);
}

template <class V>
PIXMORPH_INLINE void AverageRow(const BlurPlan& plan, std::uint8_t* to, std::uint8_t* from) {
  if (plan.range == BlurRange::kHuge)
    AverageRowBy<V, WideRow<V, HugeQuotient<V>>>(plan, to, from);
  else if (plan.range == BlurRange::kWide)
    AverageRowBy<V, WideRow<V, WideQuotient<V>>>(plan, to, from);
  else if (plan.shift)
    AverageRowBy<V, NarrowRow<V, true>>(plan, to, from);
  else
    AverageRowBy<V, NarrowRow<V, false>>(plan, to, from);
}

// Sums are kept by one vector type; rows, which have no part in their layout, may be left to another one.
template <class ColumnsV, class V = ColumnsV>
struct BlurOver {
  static void StartSums(const BlurPlan& plan, void* sums) { kernels::StartSums<ColumnsV>(plan, sums); }
  static void AddRow(const BlurPlan& plan, void* sums, const std::uint8_t* row, std::int32_t times) {
    kernels::AddRow<ColumnsV>(plan, sums, row, times);
  }
  static void FirstRow(const BlurPlan& plan, std::uint8_t* to, void* sums) {
    kernels::FirstRow<ColumnsV>(plan, to, sums);
  }
  static void NextRow(const BlurPlan& plan, std::uint8_t* to, void* sums, const BlurSourceRows& rows) {
    kernels::NextRow<ColumnsV>(plan, to, sums, rows);
  }
  static void AverageRow(const BlurPlan& plan, std::uint8_t* to, std::uint8_t* from) {
    kernels::AverageRow<V>(plan, to, from);
  }
  static void Finish() { V::EndStreaming(); }
  static constexpr BlurKernels kTable = {StartSums, AddRow, FirstRow, NextRow, AverageRow, Finish};
};

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_BLUR_SIMD_H_
