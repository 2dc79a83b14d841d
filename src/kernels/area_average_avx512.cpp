#include <immintrin.h>

#include "kernels/area_average_simd.h"

namespace pixmorph::kernels {
namespace {

struct Avx512Lanes {
  using U16 = __m512i;
  static constexpr int kLanes = 32;
  PIXMORPH_INLINE_MEMBER static U16 Widen(const std::uint8_t* p) {
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
  }
  PIXMORPH_INLINE_MEMBER static U16 Load(const std::uint16_t* p) {
    return _mm512_loadu_si512(reinterpret_cast<const __m512i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint16_t* p, U16 v) {
    _mm512_storeu_si512(reinterpret_cast<__m512i*>(p), v);
  }
  PIXMORPH_INLINE_MEMBER static U16 Add(U16 a, U16 b) { return _mm512_add_epi16(a, b); }
};

}  // namespace

const AreaAverageKernels kAreaAverageAvx512 = {AddRows<Avx512Lanes>, AddSums,       AverageSmall,
                                               AverageLarge,         AverageTotals, ref::CanTile,
                                               ref::AverageTiles,    RepeatPixels,  CopyRow};

}  // namespace pixmorph::kernels
