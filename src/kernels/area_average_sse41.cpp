#include "kernels/area_average_lanes_sse41.h"

namespace pixmorph::kernels {

const AreaAverageKernels kAreaAverageSse41 = {AddRows<Sse41Lanes>,
                                              AddRows<Sse41Lanes>,
                                              AddSums,
                                              AverageSmall,
                                              AverageLarge,
                                              AverageTotals,
                                              DivideSums,
                                              CanTile<Sse41Tiles>,
                                              AverageTiles<Sse41Tiles>,
                                              AverageTiles<Sse41Tiles>,
                                              RepeatEachPixel,
                                              nullptr,
                                              CopyRow<Pixels128>,
                                              FinishCopies};

}  // namespace pixmorph::kernels
