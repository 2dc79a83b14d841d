#include <smmintrin.h>

#include "kernels/resample_averages.h"
#include "kernels/resample_vec_sse.h"

namespace pixmorph::kernels {

namespace {

struct Sse41 {
  PIXMORPH_INLINE_MEMBER static __m128i Widen(__m128i bytes) { return _mm_cvtepu8_epi16(bytes); }
  // The largest number below it; it is never 0.
  PIXMORPH_INLINE_MEMBER static __m128i Threshold(std::uint32_t x) {
    return _mm_set1_epi32(static_cast<std::int32_t>(x - 1));
  }
  PIXMORPH_INLINE_MEMBER static __m128i Below(__m128i x, __m128i threshold) {
    return _mm_cmpeq_epi32(_mm_min_epu32(x, threshold), x);
  }
};
using Passes = WordPasses<OnePixel<Sse41>>;

using Averages = AveragePasses<kAreaAverageSse41, false>;
using Pairs = PairPasses<Words128>;

}  // namespace

extern const ResampleKernels kResampleSse41 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                               PlanBytesOfAny<Averages, Pairs, Passes>,
                                               PlanFirst<Averages, Pairs, Passes>};

}  // namespace pixmorph::kernels
