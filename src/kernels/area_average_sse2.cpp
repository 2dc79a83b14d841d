#include "kernels/area_average_tiles_sse.h"
#include "kernels/registers.h"

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

// The halves of a vector are new pixels, or of one its even columns and its odd ones.
struct Sse2TileOps {
  template <int kWidth>
  PIXMORPH_INLINE_MEMBER static __m128i RowSums(__m128i pixels) {
    const __m128i zero = _mm_setzero_si128();
    const __m128i low = _mm_unpacklo_epi8(pixels, zero), high = _mm_unpackhi_epi8(pixels, zero);
    __m128i sums = kWidth == 2 ? PairSums(low, high) : _mm_add_epi16(low, high);
    KeepInRegister(sums);  // or several rows are widened before any is added, and registers run out
    return sums;
  }
  PIXMORPH_INLINE_MEMBER static __m128i PairSums(__m128i a, __m128i b) {
    return _mm_add_epi16(_mm_unpacklo_epi64(a, b), _mm_unpackhi_epi64(a, b));
  }
};

using Sse2Tiles = Tiles128<Sse2TileOps>;

}  // namespace

const AreaAverageKernels kAreaAverageSse2 =
    AreaKernelsOf<Sse2Lanes, Sse2Lanes, Sse2Tiles, Sse2Tiles>(RepeatEachPixel, nullptr, CopyRow<Pixels128>);

}  // namespace pixmorph::kernels
