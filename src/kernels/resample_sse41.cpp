#include "kernels/resample_kernel.h"

namespace pixmorph::kernels {

extern const ResampleKernels kResampleSse41 = {ref::ResampleAlongRow, ref::ResampleAlongColumns, nullptr,
                                               nullptr};

}  // namespace pixmorph::kernels
