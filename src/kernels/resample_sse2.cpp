#include "kernels/resample_averages.h"
#include "kernels/resample_vec_sse.h"

namespace pixmorph::kernels {

namespace {

struct Sse2 {
  PIXMORPH_INLINE_MEMBER static __m128i Widen(__m128i bytes) {
    return _mm_unpacklo_epi8(bytes, _mm_setzero_si128());
  }
  // Unsigned comparison by signed numbers.
  PIXMORPH_INLINE_MEMBER static __m128i Threshold(std::uint32_t x) {
    return _mm_set1_epi32(static_cast<std::int32_t>(x ^ 0x80000000u));
  }
  PIXMORPH_INLINE_MEMBER static __m128i Below(__m128i x, __m128i threshold) {
    return _mm_cmpgt_epi32(threshold, _mm_xor_si128(x, _mm_set1_epi32(INT32_MIN)));
  }
};
using Passes = WordPasses<OnePixel<Sse2>>;

using Averages = AveragePasses<kAreaAverageSse2, false>;
using Pairs = PairPasses<Words128>;

}  // namespace

extern const ResampleKernels kResampleSse2 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                              PlanBytesOfAny<Averages, Pairs, Passes>,
                                              PlanFirst<Averages, Pairs, Passes>};

}  // namespace pixmorph::kernels
