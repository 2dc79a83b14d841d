#include <immintrin.h>

#include "kernels/area_average_simd.h"

namespace pixmorph::kernels {
namespace {

struct Avx2Lanes {
  using U16 = __m256i;
  static constexpr int kLanes = 16;
  PIXMORPH_INLINE_MEMBER static U16 Widen(const std::uint8_t* p) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
  }
  PIXMORPH_INLINE_MEMBER static U16 Load(const std::uint16_t* p) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint16_t* p, U16 v) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v);
  }
  PIXMORPH_INLINE_MEMBER static U16 Add(U16 a, U16 b) { return _mm256_add_epi16(a, b); }
};

}  // namespace

const AreaAverageKernels kAreaAverageAvx2 = {AddRows<Avx2Lanes>, AddSums,       AverageSmall,
                                             AverageLarge,       AverageTotals, ref::CanTile,
                                             ref::AverageTiles,  RepeatPixels,  CopyRow};

}  // namespace pixmorph::kernels
