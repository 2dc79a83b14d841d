#ifndef PIXMORPH_KERNELS_RESAMPLE_PLAN_FIRST_H_
#define PIXMORPH_KERNELS_RESAMPLE_PLAN_FIRST_H_

#include "kernels/resample_kernel.h"

namespace pixmorph::kernels {

namespace {

// Of several kinds of passes the first that will do.
template <class... Passes>
std::int64_t PlanBytesOfAny(const AxisWeights& row, const AxisWeights& column) {
  const std::int64_t needed[] = {Passes::PlanBytes(row, column)...};
  std::int64_t most = 0;
  for (const std::int64_t bytes : needed) {
    if (bytes < 0) return -1;
    if (bytes > most) most = bytes;
  }
  return most;
}

template <class... Passes>
bool PlanFirst(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
  return (Passes::Plan(row, column, memory, plan) || ...);
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_PLAN_FIRST_H_
