#ifndef PIXMORPH_KERNELS_CONTRIBUTION_H_
#define PIXMORPH_KERNELS_CONTRIBUTION_H_

#include <cstdint>

// The weights of a filtered resize, as the list builder leaves them and the kernels read them.
namespace pixmorph {

// One tap of an output sample.
struct Contribution {
  float weight;        // the filter's value, never exactly 0 as a double
  std::int32_t pixel;  // source column or row, 0 .. length - 1
};

// The taps of one output column or row.
struct ContributionList {
  Contribution* entries;  // ascending `pixel`; null when they could not be allocated
  std::int32_t count;
  float weightSum;  // sum of the taps' unrounded weights
};

}  // namespace pixmorph

#endif  // PIXMORPH_KERNELS_CONTRIBUTION_H_
