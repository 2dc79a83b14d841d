#ifndef PIXMORPH_KERNELS_RESAMPLE_FLOAT_SIMD_H_
#define PIXMORPH_KERNELS_RESAMPLE_FLOAT_SIMD_H_

#include <emmintrin.h>

#include "kernels/resample_kernel.h"

// Both passes in float arithmetic over a vector type V of V::kPixels pixels, four channels each. Slots hold
// four intermediate rows of 32-bit words, one after the other, so that all rows of contiguous slots are
// equally far apart.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kBatchRows = 4;
constexpr std::int32_t kRowPixels = 16;  // slot rows are padded to a multiple of this many pixels

PIXMORPH_INLINE std::ptrdiff_t SlotStride(const FusedPlan& plan) {
  return static_cast<std::ptrdiff_t>(plan.slotBytes / kBatchRows);
}

// Source columns of four rows as floats, [row][pixel][channel], the top byte as 0. One stretch at a time, so
// that it stays in the first-level cache.
template <class V>
class FloatStretch {
 public:
  static constexpr std::int32_t kPixels = 320;

  FloatStretch(const std::uint8_t* const* rows, std::int32_t width, std::uint8_t* memory)
      : rows_(rows), width_(width), floats_(reinterpret_cast<float*>(memory)) {}

  // Bytes of memory for a stretch that may have to hold `longest` pixels.
  static std::int64_t Bytes(std::int32_t longest) { return kBatchRows * 16 * std::int64_t{Room(longest)}; }

  // Makes pixels first .. end - 1 available, and finite numbers one vector behind them.
  void Convert(std::int32_t first, std::int32_t end, std::int32_t room) {
    first_ = first;
    stride_ = 4 * static_cast<std::ptrdiff_t>(room);
    for (std::int32_t n = 0; n < kBatchRows; ++n) {
      float* out = floats_ + n * stride_;
      const std::uint8_t* pixel = rows_[n] + 4 * static_cast<std::ptrdiff_t>(first);
      std::int32_t left = end - first;
      // The same place of the rows that come next: the processor's own prefetching stops at every page.
      const auto ahead = reinterpret_cast<std::uintptr_t>(rows_[kBatchRows + n]) -
                         reinterpret_cast<std::uintptr_t>(rows_[n]);
      for (; left >= 16; left -= 16, pixel += 64, out += 64) {
        _mm_prefetch(reinterpret_cast<const char*>(reinterpret_cast<std::uintptr_t>(pixel) + ahead),
                     _MM_HINT_T1);
        for (std::int32_t i = 0; i < 16; i += V::kPixels) V::Store(out + 4 * i, V::FromPixels(pixel + 4 * i));
      }
      for (; left >= V::kPixels; left -= V::kPixels, pixel += 4 * V::kPixels, out += 4 * V::kPixels)
        V::Store(out, V::FromPixels(pixel));
      for (; left > 0; --left, pixel += 4, out += 4) _mm_storeu_ps(out, V::FromPixel(pixel));
      for (std::int32_t i = 0; i < V::kPixels; ++i) _mm_storeu_ps(out + 4 * i, _mm_setzero_ps());
    }
  }

  PIXMORPH_INLINE_MEMBER const float* At(std::int32_t pixel) const {
    return floats_ + 4 * static_cast<std::ptrdiff_t>(pixel - first_);
  }
  PIXMORPH_INLINE_MEMBER std::ptrdiff_t Stride() const { return stride_; }

  static std::int32_t Room(std::int32_t longest) {
    return (longest > kPixels ? longest : kPixels) + 2 * V::kPixels;
  }

 private:
  const std::uint8_t* const* rows_;
  const std::int32_t width_;
  float* const floats_;
  std::int32_t first_ = 0;
  std::ptrdiff_t stride_ = 0;  // floats from row to row
};

template <class V>
class FloatPasses {
 public:
  static std::int64_t PlanBytes(const AxisWeights& row, const AxisWeights& column) {
    return ByteSize(FloatsBytes(row)).Plus(FloatsBytes(column)).Bytes();
  }

  static bool Plan(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
    if (!PackFloats(row, memory, plan.rowFloats)) return false;
    if (!PackFloats(column, static_cast<std::uint8_t*>(memory) + FloatsBytes(row), plan.columnFloats))
      return false;
    plan.alongRows = AlongRows;
    plan.alongColumns = AlongColumns;
    plan.batchRows = kBatchRows;
    plan.slotBytes = (row.count + kRowPixels - 1) / kRowPixels * kRowPixels * std::int64_t{4 * kBatchRows};
    plan.longestStretch = LongestGroup(row);
    plan.scratchBytes = (FloatStretch<V>::Bytes(plan.longestStretch) + 63) / 64 * 64;
    return true;
  }

 private:
  using F = typename V::F;

  static std::int32_t End(const AxisWeights& axis, std::int32_t i) {
    return axis.lists[i].first + axis.blocks[axis.lists[i].block].count;
  }

  struct Span {
    std::int32_t first, end;

    void Include(const AxisWeights& axis, std::int32_t i) {
      if (axis.lists[i].first < first) first = axis.lists[i].first;
      if (End(axis, i) > end) end = End(axis, i);
    }
  };

  // The source pixels that output columns i .. i + 3 read.
  static Span GroupSpan(const AxisWeights& axis, std::int32_t i) {
    Span span = {axis.lists[i].first, End(axis, i)};
    for (std::int32_t n = i + 1; n < i + 4 && n < axis.count; ++n) span.Include(axis, n);
    return span;
  }

  static std::int32_t LongestGroup(const AxisWeights& axis) {
    std::int32_t longest = 1;
    for (std::int32_t i = 0; i < axis.count; i += 4) {
      const Span span = GroupSpan(axis, i);
      if (span.end - span.first > longest) longest = span.end - span.first;
    }
    return longest;
  }

  static void AlongRows(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t* scratch,
                        std::uint8_t* slot) {
    const AxisWeights& exact = plan.rowFloats.exact;
    FloatStretch<V> stretch(rows, exact.sourceLength, scratch);
    const std::int32_t room = FloatStretch<V>::Room(plan.longestStretch);
    for (std::int32_t i = 0; i < exact.count;) {
      Span span = GroupSpan(exact, i);
      std::int32_t end = i + 4;
      for (; end < exact.count; end += 4) {
        const Span next = GroupSpan(exact, end);
        if (next.first < span.first || next.end > span.first + FloatStretch<V>::kPixels) break;
        if (next.end > span.end) span.end = next.end;
      }
      stretch.Convert(span.first, span.end, room);
      for (; i < end && i < exact.count; i += 4) SumGroup(plan, rows, stretch, i, slot);
    }
  }

  // Output columns i .. i + 3 of the four rows.
  PIXMORPH_INLINE_MEMBER static void SumGroup(const FusedPlan& plan, const std::uint8_t* const* rows,
                                              const FloatStretch<V>& stretch, std::int32_t i,
                                              std::uint8_t* slot) {
    const FloatAxis& axis = plan.rowFloats;
    alignas(32) std::uint8_t pixels[64];  // [column][row]
    std::uint32_t unsure = 0;
    for (std::int32_t n = 0; n < 4; n += V::kPixels) {
      F sums[4];
      V::SumColumns(axis, stretch, i + n, sums);
      unsure |= V::Finish(sums, axis.sure, pixels + 16 * n) << (4 * n);
    }
    StoreRows(pixels, slot + 4 * static_cast<std::ptrdiff_t>(i), SlotStride(plan));
    if (__builtin_expect(unsure != 0, 0)) RedoColumns(plan, rows, i, unsure, slot);
  }

  PIXMORPH_INLINE_MEMBER static void StoreRows(const std::uint8_t* pixels, std::uint8_t* out,
                                               std::ptrdiff_t stride) {
    const auto* const columns = reinterpret_cast<const __m128i*>(pixels);
    const __m128i a = _mm_load_si128(columns), b = _mm_load_si128(columns + 1);
    const __m128i c = _mm_load_si128(columns + 2), d = _mm_load_si128(columns + 3);
    const __m128i ab01 = _mm_unpacklo_epi32(a, b), ab23 = _mm_unpackhi_epi32(a, b);
    const __m128i cd01 = _mm_unpacklo_epi32(c, d), cd23 = _mm_unpackhi_epi32(c, d);
    _mm_store_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi64(ab01, cd01));
    _mm_store_si128(reinterpret_cast<__m128i*>(out + stride), _mm_unpackhi_epi64(ab01, cd01));
    _mm_store_si128(reinterpret_cast<__m128i*>(out + 2 * stride), _mm_unpacklo_epi64(ab23, cd23));
    _mm_store_si128(reinterpret_cast<__m128i*>(out + 3 * stride), _mm_unpackhi_epi64(ab23, cd23));
  }

  // `unsure` has four bits a column, one a row.
  static __attribute__((noinline)) void RedoColumns(const FusedPlan& plan, const std::uint8_t* const* rows,
                                                    std::int32_t i, std::uint32_t unsure,
                                                    std::uint8_t* slot) {
    const AxisWeights& exact = plan.rowFloats.exact;
    for (std::int32_t n = 0; unsure != 0; ++n, unsure >>= 1) {
      if ((unsure & 1) == 0 || i + n / 4 >= exact.count) continue;
      const std::uint8_t* const source =
          rows[n % 4] + 4 * static_cast<std::ptrdiff_t>(exact.lists[i + n / 4].first);
      const std::uint32_t pixel = ref::ResampledPixel(exact, i + n / 4, source, 4);
      std::uint8_t* const out = slot + n % 4 * SlotStride(plan) + 4 * static_cast<std::ptrdiff_t>(i + n / 4);
      *reinterpret_cast<std::uint32_t*>(out) = pixel;
    }
  }

  static void AlongColumns(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots,
                           std::uint8_t* out, std::uint32_t top) {
    const FloatAxis& axis = plan.columnFloats;
    const AxisWeights& exact = axis.exact;
    const std::ptrdiff_t stride = SlotStride(plan);
    const std::uint8_t* const first = slots + exact.lists[r].first % kBatchRows * stride;
    const std::int32_t taps = exact.blocks[exact.lists[r].block].count;
    const FloatBlock& block = axis.blocks[exact.lists[r].block];
    const std::int32_t width = plan.rowFloats.exact.count;
    constexpr std::int32_t kStep = 4 * V::kPixels;
    alignas(32) std::uint8_t pixels[4 * kStep];
    for (std::int32_t x = 0; x < width; x += kStep) {
      const std::uint8_t* const source = first + 4 * static_cast<std::ptrdiff_t>(x);
      F sums[4];
      SumPixels(source, stride, axis.weights + block.offset, taps, V::Set(block.start), sums);
      std::uint32_t unsure = V::Finish(sums, axis.sure, pixels);
      const std::int32_t count = width - x < kStep ? width - x : kStep;
      std::uint8_t* const at = out + 4 * static_cast<std::ptrdiff_t>(x);
      StorePixels(pixels, at, count, top);
      for (std::int32_t n = 0; __builtin_expect(unsure != 0, 0) && n < count; ++n, unsure >>= 1)
        if (unsure & 1) RedoPixel(exact, r, source + 4 * n, stride, at + 4 * n, top);
    }
  }

  PIXMORPH_INLINE_MEMBER static void SumPixels(const std::uint8_t* source, std::ptrdiff_t stride,
                                               const float* weights, std::int32_t count, F start,
                                               F (&sums)[4]) {
    F a = start, b = a, c = a, d = a;
    for (; count > 0; --count, source += stride) {
      const F weight = V::Set(*weights++);
      a = V::MultiplyAdd(V::FromSlot(source), weight, a);
      b = V::MultiplyAdd(V::FromSlot(source + 4 * V::kPixels), weight, b);
      c = V::MultiplyAdd(V::FromSlot(source + 8 * V::kPixels), weight, c);
      d = V::MultiplyAdd(V::FromSlot(source + 12 * V::kPixels), weight, d);
    }
    sums[0] = a, sums[1] = b, sums[2] = c, sums[3] = d;
  }

  PIXMORPH_INLINE_MEMBER static void StorePixels(const std::uint8_t* pixels, std::uint8_t* out,
                                                 std::int32_t count, std::uint32_t top) {
    const __m128i tops = _mm_set1_epi32(static_cast<std::int32_t>(top));
    const auto* const in = reinterpret_cast<const __m128i*>(pixels);
    for (std::int32_t n = 0; n < count; n += 4) {
      const __m128i four = _mm_or_si128(_mm_load_si128(in + n / 4), tops);
      if (count - n >= 4) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * n), four);
        continue;
      }
      alignas(16) std::uint32_t rest[4];
      _mm_store_si128(reinterpret_cast<__m128i*>(rest), four);
      for (std::int32_t k = 0; k < count - n; ++k) StoreWord(out + 4 * (n + k), rest[k]);
    }
  }

  PIXMORPH_INLINE_MEMBER static void StoreWord(std::uint8_t* out, std::uint32_t pixel) {
    _mm_storeu_si32(out, _mm_cvtsi32_si128(static_cast<std::int32_t>(pixel)));
  }

  static __attribute__((noinline)) void RedoPixel(const AxisWeights& exact, std::int32_t r,
                                                  const std::uint8_t* source, std::ptrdiff_t stride,
                                                  std::uint8_t* out, std::uint32_t top) {
    StoreWord(out, ref::ResampledPixel(exact, r, source, stride) | top);
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_FLOAT_SIMD_H_
