#ifndef PIXMORPH_KERNELS_DRAW_SIMD_H_
#define PIXMORPH_KERNELS_DRAW_SIMD_H_

#include "kernels/draw_edges.h"
#include "kernels/draw_masked.h"
#include "kernels/draw_quick.h"
#include "kernels/pack_kernel.h"

// Drawing over the vector types of vec_*.h. Included by the files of the instruction sets only.
namespace pixmorph::kernels {
namespace {

// ---- pixels that nothing reaches

// How far ahead of the loads the caches are told what comes. [bytes]
constexpr int kTopsAhead = 2048;

// Only their top bytes can change, and mostly don't: reading is cheaper than writing.
template <class V>
PIXMORPH_INLINE void RewriteTops(std::uint8_t* to, std::int32_t count, std::uint32_t top) {
  constexpr int kAtOnce = 4;
  const V tops = V::Set32(top), mask = V::Set32(0xFF000000);
  std::int32_t x = 0;
  for (; x + kAtOnce * V::kPixels <= count; x += kAtOnce * V::kPixels) {
    for (int i = 0; i < kAtOnce * V::kBytes; i += 64) __builtin_prefetch(to + x * 4 + kTopsAhead + i, 0, 2);
    V differences = V::Zero();
    for (int i = 0; i < kAtOnce; ++i)
      differences = V::Or(differences, V::Xor(V::Load(to + (x + i * V::kPixels) * 4), tops));
    if (!V::AnyOf(differences, mask)) continue;
    for (int i = 0; i < kAtOnce; ++i) {
      std::uint8_t* pixels = to + (x + i * V::kPixels) * 4;
      V::WithTops(V::Load(pixels), tops).Store(pixels);
    }
  }
  // The last vector may overlap what has been done: doing it again changes nothing.
  while (x < count && count >= V::kPixels) {
    std::uint8_t* pixels = to + (x + V::kPixels <= count ? x : count - V::kPixels) * 4;
    const V old = V::Load(pixels);
    if (V::AnyOf(V::Xor(old, tops), mask)) V::WithTops(old, tops).Store(pixels);
    x += V::kPixels;
  }
  for (; x < count; ++x) to[x * 4 + 3] = static_cast<std::uint8_t>(top >> 24);
}

// ---- a whole row

PIXMORPH_INLINE bool Overlap(const std::uint8_t* a, std::int64_t aBytes, const std::uint8_t* b,
                             std::int64_t bBytes) {
  const std::uintptr_t from = reinterpret_cast<std::uintptr_t>(a),
                       other = reinterpret_cast<std::uintptr_t>(b);
  return b && from < other + static_cast<std::uintptr_t>(bBytes) &&
         other < from + static_cast<std::uintptr_t>(aBytes);
}

// What is drawn may be read again within the row.
PIXMORPH_INLINE bool IsDrawnOntoItself(const DrawPlan& plan, const DrawRows& rows) {
  const std::int64_t bytes = plan.destinationWidth * 4ll;
  const std::int64_t sourceBytes = static_cast<std::int64_t>(plan.sourceWidth) * BytesPerPixel(plan.source);
  const std::int64_t maskBytes = plan.maskWidth * 4ll;
  return Overlap(rows.destination, bytes, rows.upper, sourceBytes) ||
         Overlap(rows.destination, bytes, rows.lower, sourceBytes) ||
         Overlap(rows.destination, bytes, rows.upperMask, maskBytes) ||
         Overlap(rows.destination, bytes, rows.lowerMask, maskBytes);
}

// Rows that only the plain way knows how to draw.
PIXMORPH_INLINE bool IsPlain(const DrawPlan& plan, const DrawRows& rows) {
  if (!plan.tame || BytesPerPixel(plan.destination) != 4 || BytesPerPixel(plan.source) == 0) return true;
  if (plan.masked) {
    if (BytesPerPixel(plan.mask) != 4 || plan.maskWidth < plan.sourceWidth) return true;
    if ((rows.upper && !rows.upperMask) || (rows.lower && !rows.lowerMask)) return true;
  }
  return IsDrawnOntoItself(plan, rows);
}

template <class V, class D>
PIXMORPH_INLINE void DrawUnmasked(const DrawPlan& plan, const DrawSpan& span, std::int32_t count) {
  if (plan.copying && span.lower)
    DrawCopies<V>(plan, span, count);
  else if (plan.quick && span.upper && span.lower && plan.shifted)
    DrawQuick<V, true>(plan, span, count);
  else if (plan.quick && span.upper && span.lower)
    DrawQuick<V, false>(plan, span, count);
  else if (IsHalfway(plan, span))
    DrawHalfway<D>(plan, span, count);
  else
    DrawDoubles<D>(plan, span, count);
}

template <class V, class D>
PIXMORPH_INLINE void DrawMixed(const DrawPlan& plan, const DrawSpan& span, std::int32_t count) {
  const bool halfway = IsHalfway(plan, span);
  if (plan.tabled && halfway)
    DrawByTables<V, D, true>(plan, span, count);
  else if (plan.tabled)
    DrawByTables<V, D, false>(plan, span, count);
  else if (halfway)
    DrawHalfway<D>(plan, span, count);
  else
    DrawDoubles<D>(plan, span, count);
}

// Stretches of one cover.
template <class V, class D>
PIXMORPH_INLINE void DrawMasked(const DrawPlan& plan, const DrawSpan& whole, std::int32_t count) {
  for (std::int32_t x = 0, end; x < count; x = end) {
    const DrawSpan span = whole.From(x);
    const auto coverAt = [&](std::int32_t at) {
      const bool known = at + kCoverPixels <= count;
      const Cover cover = known ? CoverOf<V>(whole.From(at)) : Cover::kMixed;
      return cover == Cover::kShown && !plan.copying && !plan.quick ? Cover::kMixed : cover;
    };
    const Cover cover = coverAt(x);
    for (end = x + kCoverPixels; end < count && coverAt(end) == cover;) end += kCoverPixels;
    if (end > count) end = count;
    if (cover == Cover::kHidden)
      RewriteTops<V>(span.to, end - x, TopByteMask(plan.destination));
    else if (cover == Cover::kShown)
      DrawUnmasked<V, D>(plan, {span.to, span.upper, span.lower, nullptr, nullptr}, end - x);
    else
      DrawMixed<V, D>(plan, span, end - x);
  }
}

template <class V, class D>
PIXMORPH_INLINE void DrawSpanOf(const DrawPlan& plan, const DrawSpan& span, std::int32_t count) {
  if (!plan.masked)
    DrawUnmasked<V, D>(plan, span, count);
  else if (span.upper && span.lower)
    DrawMasked<V, D>(plan, span, count);
  else
    DrawDoubles<D>(plan, span, count);
}

// A 24-bit source is unpacked piece by piece.
template <class V, class D>
PIXMORPH_INLINE void DrawUnpacked(const DrawPlan& plan, const PackKernels& pack, const DrawSpan& span,
                                  std::int32_t count) {
  constexpr std::int32_t kPiece = 256;
  std::uint8_t rows[2][(kPiece + 1) * 4];
  for (std::int32_t x = 0; x < count; x += kPiece) {
    const std::int32_t pixels = count - x < kPiece ? count - x : kPiece;
    DrawSpan piece = span.From(x);
    piece.upper = span.upper ? rows[0] : nullptr;
    piece.lower = span.lower ? rows[1] : nullptr;
    if (span.upper) pack.rgb24ToBgrx(rows[0], span.upper + x * 3, pixels + 1, 0);
    if (span.lower) pack.rgb24ToBgrx(rows[1], span.lower + x * 3, pixels + 1, 0);
    DrawSpanOf<V, D>(plan, piece, pixels);
  }
}

template <class V, class D>
PIXMORPH_INLINE void DrawRow(const DrawPlan& plan, const PackKernels& pack, const DrawRows& rows) {
  const std::uint32_t top = TopByteMask(plan.destination);
  const std::int64_t width = plan.destinationWidth, left = plan.left, right = left + plan.sourceWidth;
  const auto inside = [width](std::int64_t x) {
    return static_cast<std::int32_t>(x < 0 ? 0 : x < width ? x : width);
  };
  if ((!rows.upper && !rows.lower) || plan.idle)
    return RewriteTops<V>(rows.destination, plan.destinationWidth, top);
  if (IsPlain(plan, rows)) return ref::DrawRow(plan, rows);
  // Columns from `left` to `right` are reached; all but these two have both their neighbours inside the
  // source.
  const std::int32_t begin = inside(left), innerBegin = inside(left + 1), innerEnd = inside(right);
  const std::int32_t end = inside(right + 1);
  const auto drawEdge = BytesPerPixel(plan.source) == 4 ? DrawEdge : ref::DrawColumns;
  RewriteTops<V>(rows.destination, begin, top);
  drawEdge(plan, rows, begin, innerBegin);
  if (innerBegin < innerEnd) {
    const std::int32_t first = static_cast<std::int32_t>(innerBegin - left) - 1;
    const auto at = [first](const std::uint8_t* row, std::int32_t bytes) {
      return row ? row + first * bytes : nullptr;
    };
    const std::int32_t bytes = BytesPerPixel(plan.source);
    const DrawSpan span = {rows.destination + innerBegin * 4, at(rows.upper, bytes), at(rows.lower, bytes),
                           plan.masked ? at(rows.upperMask, 4) : nullptr,
                           plan.masked ? at(rows.lowerMask, 4) : nullptr};
    if (bytes == 3)
      DrawUnpacked<V, D>(plan, pack, span, innerEnd - innerBegin);
    else
      DrawSpanOf<V, D>(plan, span, innerEnd - innerBegin);
  }
  drawEdge(plan, rows, innerEnd > innerBegin ? innerEnd : innerBegin, end);
  RewriteTops<V>(rows.destination + end * 4, plan.destinationWidth - end, top);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_SIMD_H_
