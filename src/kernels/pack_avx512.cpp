#include "kernels/pack_kernel.h"

namespace pixmorph::kernels {

const PackKernels kPackAvx512 = {ref::Rgb24ToBgrx, ref::BgrxToRgb24, ref::BgrxWithTop};

}  // namespace pixmorph::kernels
