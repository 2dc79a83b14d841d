#ifndef PIXMORPH_KERNELS_AREA_AVERAGE_TABLE_H_
#define PIXMORPH_KERNELS_AREA_AVERAGE_TABLE_H_

#include "kernels/area_average_simd.h"
#include "kernels/area_average_tiles.h"

namespace pixmorph::kernels {
namespace {

// A level's kernels out of its vectors: `Far` ones for sources that come from memory. How pixels are repeated
// differs too much to be made of one vector.
template <class Lanes, class FarLanes, class Tiles, class FarTiles>
constexpr AreaAverageKernels AreaKernelsOf(decltype(AreaAverageKernels::repeatPixels) repeatPixels,
                                           decltype(AreaAverageKernels::repeatRows) repeatRows,
                                           decltype(AreaAverageKernels::copyRow) copyRow) {
  return {AddRows<Lanes>, AddRows<FarLanes>, AddSums,        AverageSmall,        AverageLarge,
          AverageTotals,  DivideSums,        CanTile<Tiles>, AverageTiles<Tiles>, AverageTiles<FarTiles>,
          repeatPixels,   repeatRows,        copyRow,        FinishCopies};
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_AREA_AVERAGE_TABLE_H_
