#ifndef PIXMORPH_KERNELS_SMOOTH_ENLARGE_KERNEL_H_
#define PIXMORPH_KERNELS_SMOOTH_ENLARGE_KERNEL_H_

#include <cstdint>

#include "kernels/pixel_layout.h"

// The smooth enlargement: every byte of a pixel is interpolated along 3t² − 2t³, between rows first (in
// float, each product and sum rounded), then along the row (in double, rounded half up).
namespace pixmorph::kernels {

// Weights of the four taps of one position, in the order s + 2, s + 1, s, s − 1.
struct SmoothWeights {
  float tap[4];
};

// For a position t = 0 .. 1 behind its source sample: formed in double, rounded to float. [pure]
SmoothWeights SmoothWeightsAt(double t);

// A line is one row as floats, four channels a pixel, in an arrangement of the level's own. It takes
// SmoothLineFloats(width) floats; beyond its contents it repeats the last pixel once, the rest is padding.
constexpr std::int32_t kSmoothLinePadding = 32;
// [pure]
PIXMORPH_INLINE std::int32_t SmoothPlaneFloats(std::int32_t width) {
  return ((width + 15) / 16) * 16 + kSmoothLinePadding;
}

// The columns of the result. Every array has room for `count` rounded up to kSmoothColumnBlock entries; the
// entries behind `count` repeat the last one.
constexpr std::int32_t kSmoothColumnBlock = 16;
struct SmoothColumns {
  const std::int32_t* index;  // source column s; never falls, rises by at most 1 from entry to entry
  const float* weight0;       // of column s, times kSmoothWeightScale
  const float* weight1;       // of the column behind it, the same
  // All bits of an entry set: both weights are exact (see IsExactSmoothWeight). Otherwise 0.
  const std::int32_t* exactMask;
  bool allExact;             // every entry of exactMask is set
  bool clear;                // of all rounding boundaries (see SmoothStaysClear): nothing needs a second look
  std::int32_t count;        // new pixels
  std::int32_t sourceWidth;  // pixels
};
// A power of two, so that scaling rounds nothing; the bits below it are a value's fraction.
constexpr float kSmoothWeightScale = 65536.0f;

// True when no new pixel's channel comes near a rounding boundary, whatever the source. With positions at
// multiples of 1/p and 1/q between samples, weights are multiples of 1/p^3 and 1/q^3 but for float's
// rounding. Where both are odd, no multiple of 1/(pq)^3 is half a byte value; the nearest lie half of one
// beside it, which up to pq = 13 is 14.9 units of 1/65536 of a byte. Rounding the weights moves a value by 2
// of them at most, and the kernels' arithmetic by 6.5. [pure]
PIXMORPH_INLINE bool SmoothStaysClear(std::int32_t columnPeriod, std::int32_t rowPeriod) {
  constexpr std::int32_t kMost = 13;
  return columnPeriod % 2 != 0 && rowPeriod % 2 != 0 && columnPeriod <= kMost && rowPeriod <= kMost &&
         columnPeriod * rowPeriod <= kMost;
}

// True for multiples of 1/256: products of two such weights with a byte, and their sums up to 256, are exact
// in float. weight is 0 .. 1. [pure]
PIXMORPH_INLINE bool IsExactSmoothWeight(float weight) {
  constexpr float kNoFraction = 8388608.0f;  // adding 2^23 rounds to whole numbers
  const float scaled = weight * 256.0f;
  return (scaled + kNoFraction) - kNoFraction == scaled;
}

// A line and what is known of it.
struct SmoothLine {
  const float* values;
  std::int32_t top;  // 0 .. 255: every pixel has this top byte, the channel's values don't count; else -1
  bool exact;        // blended with exact weights, or not at all
};

// What one row is made of when columns are interpolated before rows: two source rows as lines and as wide
// lines.
struct SmoothMix {
  const float *upperLine, *lowerLine;
  const float *upperWide, *lowerWide;
  float weight0, weight1;  // of the upper and the lower row
  std::int32_t top;  // 0 .. 255: the top byte of all pixels of both, their channel doesn't count; else -1
  bool exact;        // both weights are exact
};

// A wide line takes this many floats. [pure]
PIXMORPH_INLINE std::int64_t SmoothWideFloats(std::int32_t newWidth) {
  return (std::int64_t{newWidth} + kSmoothColumnBlock) * 4;
}

// Widths and counts 1 and above; any alignment of pixels, lines at 64 bytes. Pixels are read and written
// exactly as counted, nothing beside them. [pure]
struct SmoothEnlargeKernels {
  // One row of 32-bit pixels as a line. Gives the top byte that all pixels have, or -1.
  std::int32_t (*unpackLine)(float* line, const std::uint8_t* row, std::int32_t width);
  // out = upper × weight0 + lower × weight1 of a whole line, rounded after each step. `out` may equal
  // neither. Without `withTop` the top channel of `out` is left as it is.
  void (*blendLines)(float* out, const float* upper, const float* lower, float weight0, float weight1,
                     std::int32_t width, bool withTop);
  // One row of 32-bit pixels from a line: each byte is trunc(0.5 + line[s] × weight0 + line[s + 1] ×
  // weight1), as double arithmetic in this order gives it.
  void (*interpolateLine)(std::uint8_t* out, const SmoothLine& line, const SmoothColumns& columns);
  // The same rows by interpolating each source row along itself once and mixing the results; pays where each
  // source row serves many rows. Both are null where a level doesn't offer it. `withTop` as above.
  void (*spreadLine)(float* wide, const float* line, const SmoothColumns& columns, bool withTop);
  void (*mixLines)(std::uint8_t* out, const SmoothMix& mix, const SmoothColumns& columns);
  // For the enlargement to exactly twice the size on both axes: 2 × width pixels half-way between two source
  // rows, or at a source row when both are the same.
  void (*doubleRow)(std::uint8_t* out, const std::uint8_t* upper, const std::uint8_t* lower,
                    std::int32_t width);
};

extern const SmoothEnlargeKernels kSmoothEnlargeScalar, kSmoothEnlargeSse2, kSmoothEnlargeSse41,
    kSmoothEnlargeAvx2, kSmoothEnlargeAvx512;

namespace ref {
std::int32_t UnpackLine(float* line, const std::uint8_t* row, std::int32_t width);
void BlendLines(float* out, const float* upper, const float* lower, float weight0, float weight1,
                std::int32_t width, bool withTop);
void InterpolateLine(std::uint8_t* out, const SmoothLine& line, const SmoothColumns& columns);
void DoubleRow(std::uint8_t* out, const std::uint8_t* upper, const std::uint8_t* lower, std::int32_t width);

// The two steps for one byte of a pixel, straight from the definition with all four taps; any layout.
// `buffer` has one entry per source column. rows: s − 1, s, s + 1, s + 2, clamped to the picture.
void SmoothVertical(float* buffer, const std::uint8_t* const rows[4], std::int32_t pixelBytes,
                    const SmoothWeights& weights, std::int32_t width);
// Writes one byte of each of `count` pixels, `pixelBytes` apart.
void SmoothHorizontal(std::uint8_t* out, std::int32_t pixelBytes, const float* buffer, std::int32_t width,
                      const std::int32_t* index, const SmoothWeights* weights, std::int32_t count);
}  // namespace ref

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_SMOOTH_ENLARGE_KERNEL_H_
