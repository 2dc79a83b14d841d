#include "kernels/blur_kernel.h"

namespace pixmorph::kernels {

const BlurKernels kBlurSse2 = {ref::AddPlannedRow, ref::AverageColumns, ref::AveragePlannedRow};

}  // namespace pixmorph::kernels
