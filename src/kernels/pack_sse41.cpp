#include "kernels/pack_kernel.h"

namespace pixmorph::kernels {

const PackKernels kPackSse41 = {ref::Rgb24ToBgrx, ref::BgrxToRgb24, ref::BgrxWithTop};

}  // namespace pixmorph::kernels
