#ifndef PIXMORPH_KERNELS_RESAMPLE_TIES_H_
#define PIXMORPH_KERNELS_RESAMPLE_TIES_H_

#include <cstdint>

namespace pixmorph::kernels {

// How the plain evaluation decides ties of a block. Every channel value plus 1/2 lies on a multiple of
// `step`, or beside it by `spread` at most: above it where `up`, and then values beside a whole number round
// up to it; otherwise below it, and they round down. Values below 1/2 don't count: they give 0.
struct TieRule {
  double step;  // 0: nothing is known
  double spread;
  bool up;
};

// Looks for the rule of `count` weights that are divided by `sum`; one that takes long to find only when told
// to look closely. [pure]
TieRule FindTieRule(const float* weights, std::int32_t count, float sum, bool closely);

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_TIES_H_
