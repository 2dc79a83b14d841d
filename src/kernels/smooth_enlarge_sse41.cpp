#include <smmintrin.h>

#include "kernels/smooth_enlarge_double.h"
#include "kernels/smooth_enlarge_woven.h"

namespace pixmorph::kernels {
namespace {

struct Sse41Widening {
  // The lowest four bytes as 32-bit lanes.
  PIXMORPH_INLINE_MEMBER static __m128i Widen(__m128i bytes) { return _mm_cvtepu8_epi32(bytes); }
};

}  // namespace

const SmoothEnlargeKernels kSmoothEnlargeSse41 = {
    UnpackLine<Sse41Widening>, BlendLines<Sse41Widening>, InterpolateLine<Sse41Widening>, nullptr, nullptr,
    DoubleRow<Bytes128>};

}  // namespace pixmorph::kernels
