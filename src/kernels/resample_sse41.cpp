#include <smmintrin.h>

#include "kernels/resample_averages.h"
#include "kernels/resample_vec_sse.h"

namespace pixmorph::kernels {

namespace {

struct ByWidening {
  PIXMORPH_INLINE_MEMBER static __m128i Bytes(__m128i word) { return _mm_cvtepu8_epi32(word); }
};
using Passes = FloatPasses<OnePixel<ByWidening>>;

using Averages = AveragePasses<kAreaAverageSse41, false>;
using Pairs = PairPasses<Words128>;

}  // namespace

extern const ResampleKernels kResampleSse41 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                               PlanBytesOfAny<Averages, Pairs, Passes>,
                                               PlanFirst<Averages, Pairs, Passes>};

}  // namespace pixmorph::kernels
