#ifndef PIXMORPH_KERNELS_RESAMPLE_WEIGHTS_H_
#define PIXMORPH_KERNELS_RESAMPLE_WEIGHTS_H_

#include <cstdint>

#include "kernels/contribution.h"
#include "kernels/resample_ties.h"

// The contribution lists of one axis in the form the fast kernels start from: contiguous taps, equal weights
// stored once. Everything lives in memory that the caller gives.
namespace pixmorph::kernels {

// The weights of one or many lists: `count` floats from `offset` on, never 0 of them.
struct WeightBlock {
  std::int32_t offset;
  std::int32_t count;
  float sum;       // the lists' weightSum: finite, not 0
  bool exactSums;  // doubles hold all sums of weights times 0 .. 255, so that taps may be added in any order
  bool average;    // weights of 1 and their number as the sum
  TieRule ties;
};

// One output sample: the source samples first .. first + count - 1 of its block. All lie inside the source.
struct WeightList {
  std::int32_t first;
  std::int32_t block;
};

struct AxisWeights {
  const WeightList* lists;
  const WeightBlock* blocks;
  const float* weights;
  std::int32_t count;         // lists
  std::int32_t blockCount;    // 1 .. count
  std::int32_t sourceLength;  // samples
};

// Of so many samples the plain evaluation rounds an average exactly, and 16 bits hold their sum and a half.
constexpr std::int32_t kLongestAverage = 255;

// Memory that `GatherWeights` needs, in bytes; negative when it has no size. [pure]
std::int64_t WeightsBytes(const ContributionList* lists, std::int32_t count);

// The lists of one axis, count >= 1, over `sourceLength` samples. `memory` has WeightsBytes bytes, aligned to
// 8, and holds the result. Gaps in a list are filled with weight 0, which changes no sum; a list that gives 0
// whatever the samples (an empty one) becomes one tap of weight 0 with sum 1.
AxisWeights GatherWeights(const ContributionList* lists, std::int32_t count, std::int32_t sourceLength,
                          void* memory);

// The taps of the longest block. [pure]
std::int32_t LongestBlock(const AxisWeights& axis);

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WEIGHTS_H_
