#include "kernels/resample_kernel.h"

namespace pixmorph::kernels {

extern const ResampleKernels kResampleAvx512 = {ref::ResampleAlongRow, ref::ResampleAlongColumns};

}  // namespace pixmorph::kernels
