#include "kernels/resample_kernel.h"

namespace pixmorph::kernels {

extern const ResampleKernels kResampleSse2 = {ref::ResampleAlongRow, ref::ResampleAlongColumns, nullptr,
                                              nullptr};

}  // namespace pixmorph::kernels
