#include "kernels/resample_averages.h"
#include "kernels/resample_vec_sse.h"

namespace pixmorph::kernels {

namespace {

struct ByUnpacking {
  PIXMORPH_INLINE_MEMBER static __m128i Bytes(__m128i word) {
    const __m128i zero = _mm_setzero_si128();
    return _mm_unpacklo_epi16(_mm_unpacklo_epi8(word, zero), zero);
  }
};
using Passes = FloatPasses<OnePixel<ByUnpacking>>;

using Averages = AveragePasses<kAreaAverageSse2, false>;
using Pairs = PairPasses<Words128>;

}  // namespace

extern const ResampleKernels kResampleSse2 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                              PlanBytesOfAny<Averages, Pairs, Passes>,
                                              PlanFirst<Averages, Pairs, Passes>};

}  // namespace pixmorph::kernels
