#include "kernels/area_average_lanes_sse41.h"

namespace pixmorph::kernels {

const AreaAverageKernels kAreaAverageSse41 = AreaKernelsOf<Sse41Lanes, Sse41Lanes, Sse41Tiles, Sse41Tiles>(
    RepeatEachPixel, nullptr, CopyRow<Pixels128>);

}  // namespace pixmorph::kernels
