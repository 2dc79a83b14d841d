#include <smmintrin.h>

#include "kernels/area_average_simd.h"

namespace pixmorph::kernels {
namespace {

struct Sse41Lanes {
  using U16 = __m128i;
  static constexpr int kLanes = 8;
  PIXMORPH_INLINE_MEMBER static U16 Widen(const std::uint8_t* p) {
    return _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)));
  }
  PIXMORPH_INLINE_MEMBER static U16 Load(const std::uint16_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint16_t* p, U16 v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
  }
  PIXMORPH_INLINE_MEMBER static U16 Add(U16 a, U16 b) { return _mm_add_epi16(a, b); }
};

}  // namespace

const AreaAverageKernels kAreaAverageSse41 = {AddRows<Sse41Lanes>, AddSums,       AverageSmall,
                                              AverageLarge,        AverageTotals, ref::CanTile,
                                              ref::AverageTiles,   RepeatPixels,  CopyRow};

}  // namespace pixmorph::kernels
