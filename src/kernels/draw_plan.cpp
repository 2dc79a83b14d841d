#include "kernels/draw_factors.h"
#include "kernels/draw_mask_tables.h"

namespace pixmorph::kernels {
namespace {

constexpr std::int64_t kPixelsWorthAFactor = 1024, kPixelsWorthATable = 1 << 15;

bool IsTame(double weight) {
  const double size = weight < 0 ? -weight : weight;
  return size == 0 || (size >= 1e-200 && size <= 1000);
}

// Without a shift for all weights, or else with the largest for each, which makes the most of a factor's 16
// bits.
bool FindFactors(const double (&weights)[kDrawNeighbours + 1], bool shifted, DrawPlan* plan) {
  for (int i = 0; i <= kDrawNeighbours; ++i) {
    if (!(weights[i] >= 0 && weights[i] < 1)) return false;
    const int same = FirstEqual(weights, i);
    if (same < i) {
      plan->shifts[i] = plan->shifts[same], plan->factors[i] = plan->factors[same];
      continue;
    }
    plan->shifts[i] = 0;
    while (shifted && plan->shifts[i] < 14 && weights[i] * (65536 << plan->shifts[i]) < 32767)
      ++plan->shifts[i];
    if (!FindFactor(weights[i], plan->shifts[i], &plan->factors[i])) return false;
  }
  plan->shifted = shifted;
  return true;
}

}  // namespace

void FinishDrawPlan(DrawPlan* plan, std::int64_t pixels) {
  const double* weights = plan->weights;
  // Of what is shown, and what they leave.
  double shown[kDrawNeighbours + 1] = {0, 0, 0, 0, 1.0};
  plan->tame = plan->idle = true;
  for (int i = 0; i < kDrawNeighbours; ++i) {
    plan->tame = plan->tame && IsTame(weights[i]);
    plan->idle = plan->idle && weights[i] == 0;
    shown[i] = plan->masked ? 255 * weights[i] / 255 : weights[i];
    shown[kDrawNeighbours] -= shown[i];
  }
  plan->copying =
      shown[kLowerRight] == 1 && shown[kUpperLeft] == 0 && shown[kUpperRight] == 0 && shown[kLowerLeft] == 0;
  // Less than nothing does not count.
  if (shown[kDrawNeighbours] < 0) shown[kDrawNeighbours] = 0;
  const bool wanted = plan->tame && !plan->idle;
  plan->quick = wanted && pixels >= kPixelsWorthAFactor &&
                (FindFactors(shown, false, plan) || FindFactors(shown, true, plan));
  plan->tabled = wanted && plan->masked && plan->maskTables && pixels >= kPixelsWorthATable &&
                 FillMaskTables(plan->weights, plan->maskTables);
}

}  // namespace pixmorph::kernels
