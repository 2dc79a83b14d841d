#include "kernels/smooth_enlarge_double.h"
#include "kernels/smooth_enlarge_planar.h"
#include "kernels/smooth_enlarge_spread.h"
#include "kernels/smooth_enlarge_vec_sse.h"

namespace pixmorph::kernels {

const SmoothEnlargeKernels kSmoothEnlargeSse2 = {UnpackLine<Four>, BlendLines<Four>, InterpolateLine<Four>,
                                                 SpreadLine<Four>, MixLines<Four>,   DoubleRow<Bytes128>};

}  // namespace pixmorph::kernels
