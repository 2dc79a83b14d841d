#include "kernels/smooth_enlarge_kernel.h"

namespace pixmorph::kernels {

const SmoothEnlargeKernels kSmoothEnlargeSse2 = {ref::UnpackLine, ref::BlendLines, ref::InterpolateLine};

}  // namespace pixmorph::kernels
