#ifndef PIXMORPH_KERNELS_AREA_AVERAGE_SIMD_H_
#define PIXMORPH_KERNELS_AREA_AVERAGE_SIMD_H_

#include <emmintrin.h>

#include "kernels/area_average_kernel.h"
#include "kernels/area_average_repeat.h"
#include "kernels/read_ahead.h"

// The vector bodies of the area average, for inclusion by the files of the levels: everything here is local
// to them. `V` is a thin vector of 16-bit lanes.
namespace pixmorph::kernels {
namespace {

// Sums of kRows rows, on top of what is there unless `kFirst`.
template <class V, int kRows, bool kFirst>
PIXMORPH_INLINE typename V::U16 RowSums(const std::uint16_t* sums, const std::uint8_t* const* rows,
                                        std::ptrdiff_t i) {
  typename V::U16 sum = V::Widen(rows[0] + i);
  for (int r = 1; r < kRows; ++r) sum = V::Add(sum, V::Widen(rows[r] + i));
  return kFirst ? sum : V::Add(sum, V::Load(sums + i));
}

template <class V, int kRows, bool kFirst>
PIXMORPH_INLINE void AddRowsOf(std::uint16_t* sums, const std::uint8_t* const* rowTable,
                               std::ptrdiff_t count) {
  const std::uint8_t* rows[kRows];
  for (int r = 0; r < kRows; ++r) rows[r] = rowTable[r];
  // The last vector overlaps the one before it, so that its sums are formed before any is stored.
  const std::ptrdiff_t last = count - V::kLanes;
  const typename V::U16 lastSums = RowSums<V, kRows, kFirst>(sums, rows, last);
  std::ptrdiff_t i = 0;
  for (; i + 2 * V::kLanes <= count; i += 2 * V::kLanes) {
    ReadAhead<kRows, 2 * V::kLanes>(rows[0], i);
    const typename V::U16 a = RowSums<V, kRows, kFirst>(sums, rows, i);
    const typename V::U16 b = RowSums<V, kRows, kFirst>(sums, rows, i + V::kLanes);
    V::Store(sums + i, a);
    V::Store(sums + i + V::kLanes, b);
  }
  for (; i < last; i += V::kLanes) V::Store(sums + i, RowSums<V, kRows, kFirst>(sums, rows, i));
  V::Store(sums + last, lastSums);
}

template <class V, int kRows>
PIXMORPH_INLINE void AddRowsOf(std::uint16_t* sums, const std::uint8_t* const* rows, std::ptrdiff_t count,
                               bool first) {
  if (first) {
    AddRowsOf<V, kRows, true>(sums, rows, count);
  } else {
    AddRowsOf<V, kRows, false>(sums, rows, count);
  }
}

template <class V>
void AddRows(std::uint16_t* sums, const std::uint8_t* const* rows, std::int32_t rowCount,
             std::int32_t byteCount, bool first) {
  if (byteCount < V::kLanes) {
    ref::AddRows(sums, rows, rowCount, byteCount, first);
    return;
  }
  switch (rowCount) {
    case 1:
      AddRowsOf<V, 1>(sums, rows, byteCount, first);
      break;
    case 2:
      AddRowsOf<V, 2>(sums, rows, byteCount, first);
      break;
    case 3:
      AddRowsOf<V, 3>(sums, rows, byteCount, first);
      break;
    default:
      AddRowsOf<V, 4>(sums, rows, byteCount, first);
      break;
  }
}

void AddSums(std::uint32_t* totals, const std::uint16_t* sums, std::int32_t count, bool first) {
  const __m128i zero = _mm_setzero_si128();
  for (std::int32_t i = 0; i < count; i += 8) {
    const __m128i sum = _mm_loadu_si128(reinterpret_cast<const __m128i*>(sums + i));
    auto* total = reinterpret_cast<__m128i*>(totals + i);
    const __m128i low = first ? zero : _mm_loadu_si128(total);
    const __m128i high = first ? zero : _mm_loadu_si128(total + 1);
    _mm_storeu_si128(total, _mm_add_epi32(low, _mm_unpacklo_epi16(sum, zero)));
    _mm_storeu_si128(total + 1, _mm_add_epi32(high, _mm_unpackhi_epi16(sum, zero)));
  }
}

// The columns of one box, four 16-bit lanes a pixel, in the low half; the high half is whatever.
template <int kStep>
PIXMORPH_INLINE __m128i BoxSum(const std::uint16_t* box, std::int32_t boxWidth) {
  const auto pixel = [](const std::uint16_t* p) {
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
  };
  if (kStep == 3) {
    __m128i sum = pixel(box);
    for (std::int32_t i = 1; i < boxWidth; ++i) sum = _mm_add_epi16(sum, pixel(box += 3));
    return sum;
  }
  __m128i pairs = _mm_setzero_si128();
  std::int32_t left = boxWidth;
  for (; left >= 2; left -= 2, box += 8)
    pairs = _mm_add_epi16(pairs, _mm_loadu_si128(reinterpret_cast<const __m128i*>(box)));
  const __m128i sum = _mm_add_epi16(pairs, _mm_unpackhi_epi64(pairs, pairs));
  return left ? _mm_add_epi16(sum, pixel(box)) : sum;
}

// Two boxes of an even number of columns with kStep 4.
PIXMORPH_INLINE __m128i BoxPairSum(const std::uint16_t* a, const std::uint16_t* b, std::int32_t pairCount) {
  __m128i sumA = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a));
  __m128i sumB = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
  for (std::int32_t i = 1; i < pairCount; ++i) {
    sumA = _mm_add_epi16(sumA, _mm_loadu_si128(reinterpret_cast<const __m128i*>(a + i * 8)));
    sumB = _mm_add_epi16(sumB, _mm_loadu_si128(reinterpret_cast<const __m128i*>(b + i * 8)));
  }
  return _mm_add_epi16(_mm_unpacklo_epi64(sumA, sumB), _mm_unpackhi_epi64(sumA, sumB));
}

// Sums of two boxes side by side. kWidth: the boxes' width where it is known, else 0.
template <int kStep, int kWidth>
PIXMORPH_INLINE __m128i TwoBoxes(const std::uint16_t* sums, const std::int32_t* starts, std::int32_t width) {
  const std::uint16_t* a = sums + starts[0];
  const std::uint16_t* b = sums + starts[1];
  if (kStep == 4 && kWidth != 0 && kWidth % 2 == 0) return BoxPairSum(a, b, kWidth / 2);
  const std::int32_t w = kWidth ? kWidth : width;
  return _mm_unpacklo_epi64(BoxSum<kStep>(a, w), BoxSum<kStep>(b, w));
}

struct SmallDivision {
  explicit SmallDivision(const AreaColumns& columns)
      : bias(_mm_set1_epi16(static_cast<short>(columns.divisor.bias))),
        multiplier(_mm_set1_epi16(static_cast<short>(columns.divisor.multiplier))),
        shift(_mm_cvtsi32_si128(columns.divisor.shift)),
        top(_mm_set1_epi32(static_cast<int>(columns.top))) {}
  PIXMORPH_INLINE_MEMBER __m128i operator()(__m128i sums) const {
    return _mm_srl_epi16(_mm_mulhi_epu16(_mm_add_epi16(sums, bias), multiplier), shift);
  }
  __m128i bias, multiplier, shift;
  __m128i top;  // of four new pixels
};

// Lanes of two pixels in red, green, blue order turned into blue, green, red.
PIXMORPH_INLINE __m128i SwapRedAndBlue(__m128i lanes) {
  return _mm_shufflehi_epi16(_mm_shufflelo_epi16(lanes, _MM_SHUFFLE(3, 0, 1, 2)), _MM_SHUFFLE(3, 0, 1, 2));
}

// The first `count` (0 .. 4) of four pixels.
PIXMORPH_INLINE void StoreSome(std::uint8_t* out, __m128i pixels, std::int32_t count) {
  for (; count > 0; --count, out += 4) {
    const int pixel = _mm_cvtsi128_si32(pixels);
    __builtin_memcpy(out, &pixel, 4);
    pixels = _mm_srli_si128(pixels, 4);
  }
}

template <int kStep, int kWidth>
PIXMORPH_INLINE void AverageSmallOf(std::uint8_t* out, const std::uint16_t* sums,
                                    const AreaColumns& columns) {
  const SmallDivision divide(columns);
  const __m128i top = _mm_set1_epi32(static_cast<int>(columns.top));
  const auto two = [&](const std::int32_t* starts) {
    const __m128i means = divide(TwoBoxes<kStep, kWidth>(sums, starts, columns.boxWidth));
    return kStep == 3 ? SwapRedAndBlue(means) : means;
  };
  const std::int32_t* starts = columns.starts;
  std::int32_t left = columns.count;
  for (; left >= 4; left -= 4, starts += 4, out += 16) {
    const __m128i pixels = _mm_packus_epi16(two(starts), two(starts + 2));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), WithTop(pixels, top));
  }
  for (; left > 0; --left, ++starts, out += 4) {
    const std::int32_t same[2] = {*starts, *starts};
    const __m128i means = two(same);
    StoreSome(out, WithTop(_mm_packus_epi16(means, means), top), 1);
  }
}

void AverageSmall(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns) {
  if (columns.step == 3) return AverageSmallOf<3, 0>(out, sums, columns);
  switch (columns.boxWidth) {
    case 2:
      return AverageSmallOf<4, 2>(out, sums, columns);
    case 3:
      return AverageSmallOf<4, 3>(out, sums, columns);
    case 4:
      return AverageSmallOf<4, 4>(out, sums, columns);
    case 5:
      return AverageSmallOf<4, 5>(out, sums, columns);
    case 6:
      return AverageSmallOf<4, 6>(out, sums, columns);
    case 8:
      return AverageSmallOf<4, 8>(out, sums, columns);
    default:
      return AverageSmallOf<4, 0>(out, sums, columns);
  }
}

void DivideSums(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns) {
  const SmallDivision divide(columns);
  for (std::int32_t left = columns.count; left > 0; left -= 4, sums += 16, out += 16) {
    const auto* const pairs = reinterpret_cast<const __m128i*>(sums);
    const __m128i means =
        _mm_packus_epi16(divide(_mm_loadu_si128(pairs)), divide(_mm_loadu_si128(pairs + 1)));
    const __m128i pixels = WithTop(means, divide.top);
    if (left < 4) return StoreSome(out, pixels, left);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), pixels);
  }
}

// Boxes whose sums need 32 bits. Up to this many pixels, (s + 0.5) × fl(1 / n) in float truncates to the
// right quotient: s + 0.5 is exact below 2^23; the reciprocal and the product each err by a relative 2^-24,
// together by less than 256 × 2^-23 = 2^-15; and (s + 0.5) / n keeps at least 1 / (2n) away from whole
// numbers.
constexpr std::int32_t kFloatDivisorLimit = 1 << 14;

PIXMORPH_INLINE __m128i FourSums(const std::uint16_t* p) {
  return _mm_unpacklo_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
}
PIXMORPH_INLINE __m128i FourSums(const std::uint32_t* p) {
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
}

template <class Sum>
PIXMORPH_INLINE void AverageWide(std::uint8_t* out, const Sum* sums, const AreaColumns& columns) {
  const __m128 half = _mm_set1_ps(0.5f);
  const __m128 reciprocal = _mm_set1_ps(1.0f / static_cast<float>(columns.boxPixels));
  const __m128i top = _mm_set1_epi32(static_cast<int>(columns.top));
  for (std::int32_t x = 0; x < columns.count; ++x, out += 4) {
    const Sum* p = sums + columns.starts[x];
    __m128i sum = FourSums(p);
    for (std::int32_t i = 1; i < columns.boxWidth; ++i) sum = _mm_add_epi32(sum, FourSums(p += columns.step));
    if (columns.step == 3) sum = _mm_shuffle_epi32(sum, _MM_SHUFFLE(3, 0, 1, 2));
    const __m128i mean = _mm_cvttps_epi32(_mm_mul_ps(_mm_add_ps(_mm_cvtepi32_ps(sum), half), reciprocal));
    const __m128i lanes = _mm_packs_epi32(mean, mean);
    StoreSome(out, WithTop(_mm_packus_epi16(lanes, lanes), top), 1);
  }
}

void AverageLarge(std::uint8_t* out, const std::uint16_t* sums, const AreaColumns& columns) {
  if (columns.boxPixels > kFloatDivisorLimit) return ref::AverageSums(out, sums, columns);
  AverageWide(out, sums, columns);
}

void AverageTotals(std::uint8_t* out, const std::uint32_t* totals, const AreaColumns& columns) {
  if (columns.boxPixels > kFloatDivisorLimit) return ref::AverageTotals(out, totals, columns);
  AverageWide(out, totals, columns);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_AREA_AVERAGE_SIMD_H_
