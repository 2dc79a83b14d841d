#include "kernels/intrinsics.h"
#include "kernels/resample_averages.h"
#include "kernels/resample_pair_simd.h"
#include "kernels/resample_word_simd.h"

namespace pixmorph::kernels {

namespace {

// 16 lanes of 16 bits.
struct Words256 {
  using Self = Words256;
  static constexpr std::int32_t kLanes = 16;
  __m256i r;

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Self
  PIXMORPH_OP LoadBytes(const void* p) { return {_mm256_loadu_si256(static_cast<const __m256i*>(p))}; }
  PIXMORPH_OP Load(const std::int16_t* p) { return LoadBytes(p); }
  PIXMORPH_INLINE_MEMBER static void StoreBytes(std::uint8_t* p, Self a) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), a.r);
  }
  // Past the caches; aligned. `EndStreaming` orders what was streamed before what is stored later.
  PIXMORPH_INLINE_MEMBER static void EndStreaming() { _mm_sfence(); }
  PIXMORPH_INLINE_MEMBER static void Stream(std::uint8_t* p, Self a) {
    _mm256_stream_si256(reinterpret_cast<__m256i*>(p), a.r);
  }
  PIXMORPH_OP Set(std::int16_t x) { return {_mm256_set1_epi16(x)}; }
  PIXMORPH_OP Add(Self a, Self b) { return {_mm256_add_epi16(a.r, b.r)}; }
  PIXMORPH_OP AddSaturated(Self a, Self b) { return {_mm256_adds_epi16(a.r, b.r)}; }
  PIXMORPH_OP Subtract(Self a, Self b) { return {_mm256_sub_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyLow(Self a, Self b) { return {_mm256_mullo_epi16(a.r, b.r)}; }
  PIXMORPH_OP MultiplyHigh(Self a, Self b) { return {_mm256_mulhi_epi16(a.r, b.r)}; }
  PIXMORPH_OP Xor(Self a, Self b) { return {_mm256_xor_si256(a.r, b.r)}; }
  // Bytes: the average of two, halves rounded up.
  PIXMORPH_OP AverageBytes(Self a, Self b) { return {_mm256_avg_epu8(a.r, b.r)}; }
  // -1 for negative lanes, else 0.
  PIXMORPH_OP Signs(Self a) { return {_mm256_srai_epi16(a.r, 15)}; }
  // Of each 16 bytes the first or the last eight as lanes, and back.
  PIXMORPH_OP Low(Self a) { return {_mm256_unpacklo_epi8(a.r, _mm256_setzero_si256())}; }
  PIXMORPH_OP High(Self a) { return {_mm256_unpackhi_epi8(a.r, _mm256_setzero_si256())}; }
  PIXMORPH_OP Pack(Self low, Self high) { return {_mm256_packus_epi16(low.r, high.r)}; }
  // Pixels with another top byte.
  PIXMORPH_OP WithTop(Self a, std::uint32_t top) {
    const auto colours = _mm256_and_si256(a.r, _mm256_set1_epi32(0x00FFFFFF));
    return {_mm256_or_si256(colours, _mm256_set1_epi32(static_cast<std::int32_t>(top)))};
  }

  // Pixels at columns counted from `from`, below `rest` and kReach.
  static constexpr std::int32_t kReach = 16;
  PIXMORPH_OP Gather(const std::uint8_t* from, std::int32_t rest, const std::int32_t* columns) {
    alignas(32) std::uint8_t inside[4 * kReach];
    if (rest < kReach) from = Copied(inside, from, rest);
    const __m256i places = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(columns));
    const __m256i low = _mm256_permutevar8x32_epi32(LoadBytes(from).r, places);
    const __m256i high = _mm256_permutevar8x32_epi32(LoadBytes(from + 32).r, places);
    return {_mm256_blendv_epi8(low, high, _mm256_cmpgt_epi32(places, _mm256_set1_epi32(7)))};
  }
  // `count` pixels, and zeros behind them.
  static __attribute__((noinline)) const std::uint8_t* Copied(std::uint8_t (&to)[4 * kReach],
                                                              const std::uint8_t* from, std::int32_t count) {
    std::memset(to, 0, sizeof to);
    std::memcpy(to, from, 4 * static_cast<std::uint32_t>(count));
    return to;
  }
#undef PIXMORPH_OP
};

struct TwoPixels {
  using Vec = __m256i;
  static constexpr int kPixels = 2;
  static constexpr int kBytes = 32;
  static constexpr double kUnsureAPair = 0.005;  // measured

#define PIXMORPH_OP PIXMORPH_INLINE_MEMBER static Vec
  PIXMORPH_OP Set(std::int32_t x) { return _mm256_set1_epi32(x); }
  PIXMORPH_OP LoadWords(const std::uint8_t* p) { return _mm256_load_si256(reinterpret_cast<const Vec*>(p)); }
  PIXMORPH_OP MultiplyAdd(Vec pixels, Vec weights, Vec sums) {
    return _mm256_add_epi32(sums, _mm256_madd_epi16(pixels, weights));
  }
  // The sum of wide weights from its two.
  PIXMORPH_OP Joined(Vec first, Vec second) {
    return _mm256_add_epi32(_mm256_slli_epi32(first, kWideLowBits), second);
  }
  // As the pixels that four vectors of sums came from lie: packing went by halves.
  PIXMORPH_OP InOrder(Vec bytes) { return _mm256_permute4x64_epi64(bytes, _MM_SHUFFLE(3, 1, 2, 0)); }
#undef PIXMORPH_OP

  // Four woven pixels as 16-bit words: the first and the third, the second and the fourth.
  struct Widened {
    PIXMORPH_INLINE_MEMBER explicit Widened(const std::uint8_t* p)
        : bytes(_mm256_loadu_si256(reinterpret_cast<const Vec*>(p))) {}
    PIXMORPH_INLINE_MEMBER Vec First() const { return _mm256_unpacklo_epi8(bytes, _mm256_setzero_si256()); }
    PIXMORPH_INLINE_MEMBER Vec Second() const { return _mm256_unpackhi_epi8(bytes, _mm256_setzero_si256()); }
    Vec bytes;
  };

  struct Rounding {
    PIXMORPH_INLINE_MEMBER explicit Rounding(const WordGrade& grade)
        : up(_mm_cvtsi32_si128(32 - grade.fractionBits)),
          down(_mm_cvtsi32_si128(grade.fractionBits)),
          threshold(_mm256_set1_epi32((grade.threshold << (32 - grade.fractionBits)) - 1)) {}
    // A byte for each channel of the eight pixels: not 0 where its fraction is below the threshold.
    PIXMORPH_INLINE_MEMBER Vec Unsure(const Vec (&sums)[4]) const {
      return _mm256_packs_epi16(_mm256_packs_epi32(Below(sums[0]), Below(sums[1])),
                                _mm256_packs_epi32(Below(sums[2]), Below(sums[3])));
    }
    PIXMORPH_INLINE_MEMBER Vec Bytes(const Vec (&sums)[4]) const {
      const Vec low = _mm256_packs_epi32(_mm256_sra_epi32(sums[0], down), _mm256_sra_epi32(sums[1], down));
      const Vec high = _mm256_packs_epi32(_mm256_sra_epi32(sums[2], down), _mm256_sra_epi32(sums[3], down));
      return _mm256_packus_epi16(low, high);
    }

   private:
    PIXMORPH_INLINE_MEMBER Vec Below(Vec sums) const {
      const Vec fractions = _mm256_sll_epi32(sums, up);
      return _mm256_cmpeq_epi32(_mm256_min_epu32(fractions, threshold), fractions);
    }
    __m128i up, down;
    Vec threshold;
  };

  PIXMORPH_INLINE_MEMBER static std::uint32_t Bits(Vec bytes) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes)) & kColourBits;
  }

  // Four pixels of four rows to two pairs.
  PIXMORPH_INLINE_MEMBER static void Weave(const std::uint8_t* a, const std::uint8_t* b,
                                           const std::uint8_t* c, const std::uint8_t* d, std::uint8_t* out) {
    WeaveRows(a, b, out), WeaveRows(c, d, out + 32);
  }

  // Four columns of four rows to the two planes.
  PIXMORPH_INLINE_MEMBER static void StoreWoven(const Vec (&rows)[2], std::uint8_t* out,
                                                std::ptrdiff_t stride) {
    for (int n = 0; n < 2; ++n, out += stride) {
      const __m128i first = _mm256_castsi256_si128(rows[n]), second = _mm256_extracti128_si256(rows[n], 1);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(first, second));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 16), _mm_unpackhi_epi8(first, second));
    }
  }

  // The first `count` of eight pixels.
  PIXMORPH_INLINE_MEMBER static void StorePixels(Vec pixels, std::uint8_t* out, std::int32_t count,
                                                 std::uint32_t top) {
    const Vec written = Words256::WithTop({pixels}, top).r;
    if (count >= 8) return _mm256_storeu_si256(reinterpret_cast<Vec*>(out), written);
    alignas(32) std::uint8_t bytes[32];
    _mm256_store_si256(reinterpret_cast<Vec*>(bytes), written);
    __builtin_memcpy(out, bytes, 4 * static_cast<std::uint32_t>(count));
  }

 private:
  PIXMORPH_INLINE_MEMBER static void WeaveRows(const std::uint8_t* a, const std::uint8_t* b,
                                               std::uint8_t* out) {
    const __m128i byTwos = _mm_setr_epi8(0, 4, 1, 5, 2, 6, 3, 7, 8, 12, 9, 13, 10, 14, 11, 15);
    const __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a));
    const __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(b));
    const Vec both = _mm256_inserti128_si256(_mm256_castsi128_si256(first), second, 1);
    const Vec woven = _mm256_shuffle_epi8(both, _mm256_broadcastsi128_si256(byTwos));
    const Vec zero = _mm256_setzero_si256();
    _mm256_store_si256(reinterpret_cast<Vec*>(out), _mm256_unpacklo_epi8(woven, zero));
    _mm256_store_si256(reinterpret_cast<Vec*>(out + kPairBytes), _mm256_unpackhi_epi8(woven, zero));
  }
};
using Passes = WordPasses<TwoPixels>;

using Averages = AveragePasses<kAreaAverageAvx2, false>;
using Pairs = PairPasses<Words256>;

}  // namespace

extern const ResampleKernels kResampleAvx2 = {ref::ResampleAlongRow, ref::ResampleAlongColumns,
                                              PlanBytesOfAny<Averages, Pairs, Passes>,
                                              PlanFirst<Averages, Pairs, Passes>};

}  // namespace pixmorph::kernels
