#include <smmintrin.h>

#include "kernels/resample_averages.h"
#include "kernels/resample_plan_first.h"
#include "kernels/resample_vec_sse.h"
#include "kernels/resample_word_vec_sse.h"

namespace pixmorph::kernels {

namespace {

struct Sse41 {
  PIXMORPH_INLINE_MEMBER static __m128i Widen(__m128i bytes) { return _mm_cvtepu8_epi16(bytes); }
  PIXMORPH_INLINE_MEMBER static __m128i ByTwos(__m128i pixels) {
    return _mm_shuffle_epi8(pixels, _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15));
  }
  PIXMORPH_INLINE_MEMBER static __m128i EvenWordsFirst(__m128i words) {
    return _mm_shuffle_epi8(words, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15));
  }
};
using Passes = WordPasses<FourSums<Sse41>>;

using Averages = AveragePasses<kAreaAverageSse41, 8>;
using Pairs = PairPasses<Words128>;

}  // namespace

extern const ResampleKernels kResampleSse41 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                               PlanBytesOfAny<Averages, Pairs, Passes>,
                                               PlanFirst<Averages, Pairs, Passes>};

}  // namespace pixmorph::kernels
