#ifndef PIXMORPH_KERNELS_BLUR_ROWS_H_
#define PIXMORPH_KERNELS_BLUR_ROWS_H_

#include <string.h>

#include "kernels/blur_quotients.h"

// The blur along a row over one of the vector types of vec_*.h.
namespace pixmorph::kernels {
namespace {

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
  V::SumGroups16(V::LastPixel16(p.before.hi), &p.groups, &p.total);
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

// Averages and what their divisions leave over, both 16 bits. From one vector to the next only the last
// average and its rest are carried; within a vector the rest and the running sums are divided together.
template <class V>
struct WideRow {
  WideRow(const BlurPlan& plan, const std::uint32_t (&start)[4])
      : quotient(plan),
        box(V::Set16(static_cast<std::int16_t>(plan.box))),
        lift(V::Set16(static_cast<std::int16_t>(plan.lift))),
        lifted(V::Set16(static_cast<std::int16_t>(plan.lift * plan.box))) {
    std::uint64_t rests = 0, quotients = 0;
    for (int c = 3; c >= 0; --c) {
      const std::uint32_t length = static_cast<std::uint32_t>(plan.box);
      rests = rests << 16 | start[c] % length;
      quotients = quotients << 16 | start[c] / length;
    }
    rest = V::Add16(V::Add16(V::Set64(rests), lifted), V::Set16(plan.biased ? 1 : 0));
    average = V::Sub16(V::Set64(quotients), lift);
  }
  PIXMORPH_INLINE_MEMBER V Next(V in, V out) {
    const Prefix<V> p = RunningSums(in, out);
    const V base = V::Add16(rest, p.groups);
    const V lo = V::Add16(average, quotient.Of(V::Add16(p.before.lo, base)));
    const V hi = V::Add16(average, quotient.Of(V::Add16(p.before.hi, base)));
    const V after = V::Add16(rest, p.total), steps = quotient.Of(after);
    rest = V::Sub16(V::Add16(after, lifted), V::MulLow16(steps, box));
    average = V::Add16(average, V::Sub16(steps, lift));
    return V::Pack16(lo, hi);
  }
  NarrowQuotient<V, true> quotient;
  V box, lift, lifted;
  V rest;     // lifted, and biased as the factor wants it
  V average;  // less the lift
};

template <class V>
struct HugeRow {
  HugeRow(const BlurPlan& plan, const std::uint32_t (&start)[4])
      : quotient(plan),
        carry{V::Set64(start[0] | static_cast<std::uint64_t>(start[2]) << 32),
              V::Set64(start[1] | static_cast<std::uint64_t>(start[3]) << 32)} {}
  PIXMORPH_INLINE_MEMBER V Next(V in, V out) {
    const Prefix<V> p = RunningSums(in, out);
    WideSums<V> lo = carry, hi = carry;
    lo.Add(V::Add16(p.before.lo, p.groups));
    hi.Add(V::Add16(p.before.hi, p.groups));
    carry = {V::LastGroup(V::LastPixel16(hi.even)), V::LastGroup(V::LastPixel16(hi.odd))};
    return V::Pack16(quotient.Of(lo), quotient.Of(hi));
  }
  HugeQuotient<V> quotient;
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
  const int bias = plan.biased && plan.range == BlurRange::kNarrow ? 1 : 0;
  for (int c = 0; c < 3; ++c)
    sums[c] = static_cast<std::uint32_t>(row[c] * inFront + last[c] * behind + bias);
  sums[3] = (plan.top >> 24) * static_cast<std::uint32_t>(plan.box) + static_cast<std::uint32_t>(bias);
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
    AverageRowBy<V, HugeRow<V>>(plan, to, from);
  else if (plan.range == BlurRange::kWide)
    AverageRowBy<V, WideRow<V>>(plan, to, from);
  else if (plan.shift)
    AverageRowBy<V, NarrowRow<V, true>>(plan, to, from);
  else
    AverageRowBy<V, NarrowRow<V, false>>(plan, to, from);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_BLUR_ROWS_H_
