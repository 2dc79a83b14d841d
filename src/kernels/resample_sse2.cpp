#include "kernels/resample_averages.h"
#include "kernels/resample_plan_first.h"
#include "kernels/resample_vec_sse.h"
#include "kernels/resample_word_vec_sse.h"

namespace pixmorph::kernels {

namespace {

struct Sse2 {
  PIXMORPH_INLINE_MEMBER static __m128i Widen(__m128i bytes) {
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
  }
  PIXMORPH_INLINE_MEMBER static __m128i ByTwos(__m128i pixels) {
    const __m128i even = _mm_shuffle_epi32(pixels, _MM_SHUFFLE(3, 1, 2, 0));
    return _mm_unpacklo_epi8(even, _mm_srli_si128(even, 8));
  }
  PIXMORPH_INLINE_MEMBER static __m128i EvenWordsFirst(__m128i words) {
    constexpr int kOrder = _MM_SHUFFLE(3, 1, 2, 0);
    return _mm_shuffle_epi32(_mm_shufflehi_epi16(_mm_shufflelo_epi16(words, kOrder), kOrder), kOrder);
  }
};
using Passes = WordPasses<FourSums<Sse2>>;

using Averages = AveragePasses<kAreaAverageSse2, 8>;
using Pairs = PairPasses<Words128>;

}  // namespace

extern const ResampleKernels kResampleSse2 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                              PlanBytesOfAny<Averages, Pairs, Passes>,
                                              PlanFirst<Averages, Pairs, Passes>};

}  // namespace pixmorph::kernels
