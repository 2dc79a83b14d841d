#include "kernels/smooth_enlarge_double.h"
#include "kernels/smooth_enlarge_woven.h"

namespace pixmorph::kernels {
namespace {

struct Sse2Widening {
  // The lowest four bytes as 32-bit lanes.
  PIXMORPH_INLINE_MEMBER static __m128i Widen(__m128i bytes) {
    const __m128i zero = _mm_setzero_si128();
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(bytes, zero), zero);
  }
};

}  // namespace

const SmoothEnlargeKernels kSmoothEnlargeSse2 = {
    UnpackLine<Sse2Widening>, BlendLines<Sse2Widening>, InterpolateLine<Sse2Widening>, nullptr, nullptr,
    DoubleRow<Bytes128>};

}  // namespace pixmorph::kernels
