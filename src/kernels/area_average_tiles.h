#ifndef PIXMORPH_KERNELS_AREA_AVERAGE_TILES_H_
#define PIXMORPH_KERNELS_AREA_AVERAGE_TILES_H_

#include "kernels/area_average_kernel.h"
#include "kernels/read_ahead.h"

// Boxes of two or four columns side by side, averaged without rows of sums in between. `V` is a vector of
// pixels that
//   AddBytes<width, means>   adds to sums of the boxes' columns, or of the rounded means of their rows,
//   StoreMeans<width, means> turns into pixels, kVectors of them at once.
namespace pixmorph::kernels {
namespace {

// New pixels that are made at once.
template <class V>
constexpr std::int32_t TileStep(std::int32_t boxWidth) {
  return V::kVectors * V::kBytes / (4 * boxWidth);
}

// Rows shorter than one step go over sums.
template <class V>
bool CanTile(std::int32_t boxWidth, std::int32_t boxHeight, std::int32_t count) {
  return (boxWidth == 2 || boxWidth == 4) && boxHeight <= kAreaRowsAtOnce && count >= TileStep<V>(boxWidth);
}

// The sums of one vector's boxes.
template <class V, int kWidth, bool kMeans, int kRows>
PIXMORPH_INLINE typename V::Sums TileSums(const std::uint8_t* const* rows, std::ptrdiff_t offset,
                                          const typename V::Division& divide) {
  typename V::Sums sums = V::template NoSums<kWidth>(divide);
  for (int r = 0; r < kRows; ++r) sums = V::template AddBytes<kWidth, kMeans>(sums, rows[r] + offset);
  return sums;
}

template <class V, int kWidth, bool kMeans, int kRows>
PIXMORPH_INLINE void AverageTilesOf(std::uint8_t* out, const std::uint8_t* const* rowTable,
                                    const AreaColumns& columns) {
  const std::uint8_t* rows[kRows];
  for (int r = 0; r < kRows; ++r) rows[r] = rowTable[r];
  const typename V::Division divide(columns);
  constexpr std::ptrdiff_t kBytes = V::kVectors * V::kBytes;
  constexpr std::int32_t kStep = TileStep<V>(kWidth);
  const auto average = [&](std::int32_t x) {
    const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(x) * kWidth * 4;
    ReadAhead<kRows, kBytes>(rows[0], offset);
    typename V::Sums sums[V::kVectors];
    for (int n = 0; n < V::kVectors; ++n)
      sums[n] = TileSums<V, kWidth, kMeans, kRows>(rows, offset + n * V::kBytes, divide);
    V::template StoreMeans<kWidth, kMeans>(out + x * 4, sums, divide);
  };
  std::int32_t x = 0;
  for (; x + kStep <= columns.count; x += kStep) average(x);
  // The last ones may overlap what has been done: doing it again changes nothing.
  if (x < columns.count) average(columns.count - kStep);
}

template <class V, int kWidth, bool kMeans>
void AverageTilesOf(std::uint8_t* out, const std::uint8_t* const* rows, std::int32_t rowCount,
                    const AreaColumns& columns) {
  switch (rowCount) {
    case 1:
      AverageTilesOf<V, kWidth, kMeans, 1>(out, rows, columns);
      break;
    case 2:
      AverageTilesOf<V, kWidth, kMeans, 2>(out, rows, columns);
      break;
    case 3:
      AverageTilesOf<V, kWidth, kMeans, 3>(out, rows, columns);
      break;
    default:
      AverageTilesOf<V, kWidth, kMeans, 4>(out, rows, columns);
      break;
  }
}

template <class V>
void AverageTiles(std::uint8_t* out, const std::uint8_t* const* rows, std::int32_t rowCount,
                  const AreaColumns& columns) {
  const bool two = columns.boxWidth == 2;
  if (columns.rowMeans) {
    (two ? AverageTilesOf<V, 2, true> : AverageTilesOf<V, 4, true>)(out, rows, rowCount, columns);
  } else {
    (two ? AverageTilesOf<V, 2, false> : AverageTilesOf<V, 4, false>)(out, rows, rowCount, columns);
  }
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_AREA_AVERAGE_TILES_H_
