#include "kernels/area_average_simd.h"

namespace pixmorph::kernels {
namespace {

struct Sse2Lanes {
  using U16 = __m128i;
  static constexpr int kLanes = 8;
  PIXMORPH_INLINE_MEMBER static U16 Widen(const std::uint8_t* p) {
    return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)), _mm_setzero_si128());
  }
  PIXMORPH_INLINE_MEMBER static U16 Load(const std::uint16_t* p) {
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
  }
  PIXMORPH_INLINE_MEMBER static void Store(std::uint16_t* p, U16 v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v);
  }
  PIXMORPH_INLINE_MEMBER static U16 Add(U16 a, U16 b) { return _mm_add_epi16(a, b); }
};

// Without byte shuffles the way over rows of sums is as good.
bool NeverTiles(std::int32_t, std::int32_t, std::int32_t) { return false; }

}  // namespace

const AreaAverageKernels kAreaAverageSse2 = {
    AddRows<Sse2Lanes>, AddSums,           AverageSmall,    AverageLarge, AverageTotals,      DivideSums,
    NeverTiles,         ref::AverageTiles, RepeatEachPixel, nullptr,      CopyRow<Pixels128>, FinishCopies};

}  // namespace pixmorph::kernels
