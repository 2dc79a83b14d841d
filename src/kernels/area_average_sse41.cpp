#include "kernels/area_average_kernel.h"

namespace pixmorph::kernels {

const AreaAverageKernels kAreaAverageSse41 = {ref::AddRows,     ref::AddSums,       ref::AverageSums,
                                              ref::AverageSums, ref::AverageTotals, ref::RepeatPixels,
                                              ref::CopyRow};

}  // namespace pixmorph::kernels
