#include "kernels/draw_kernel.h"

namespace pixmorph::kernels {
namespace {

constexpr std::int64_t kPixelsWorthAFactor = 1024;

bool IsTame(double weight) {
  const double size = weight < 0 ? -weight : weight;
  return size == 0 || (size >= 1e-200 && size <= 1000);
}

// For weights of 0 to 1.
bool Matches(double weight, std::uint32_t factor, std::int32_t shift) {
  for (std::uint32_t colour = 0; colour < 256; ++colour) {
    const std::int32_t product = TruncateInRange(static_cast<double>(colour) * weight);
    if (static_cast<std::int32_t>(colour * factor >> 16 >> shift) != product) return false;
  }
  return true;
}

// A factor next to the weight: products that are whole numbers but for the weight's own rounding may need it
// on one side or on the other, and in rare cases have none.
bool FindFactor(double weight, std::int32_t shift, std::uint16_t* factor) {
  const std::int32_t below = TruncateToInt32(weight * (65536 << shift));
  for (std::int32_t candidate = below + 1; candidate >= below - 1; --candidate) {
    if (candidate < 0 || candidate > 65535) continue;
    *factor = static_cast<std::uint16_t>(candidate);
    if (Matches(weight, *factor, shift)) return true;
  }
  return false;
}

// Without a shift for all weights, or else with the largest for each, which makes the most of a factor's 16
// bits.
bool FindFactors(const double (&weights)[kDrawNeighbours + 1], bool shifted, DrawPlan* plan) {
  for (int i = 0; i <= kDrawNeighbours; ++i) {
    if (!(weights[i] >= 0 && weights[i] < 1)) return false;
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
  double all[kDrawNeighbours + 1] = {weights[0], weights[1], weights[2], weights[3], 1.0};
  plan->tame = plan->idle = true;
  for (int i = 0; i < kDrawNeighbours; ++i) {
    plan->tame = plan->tame && IsTame(weights[i]);
    plan->idle = plan->idle && weights[i] == 0;
    all[kDrawNeighbours] -= weights[i];
  }
  plan->copying = !plan->masked && weights[kLowerRight] == 1 && weights[kUpperLeft] == 0 &&
                  weights[kUpperRight] == 0 && weights[kLowerLeft] == 0;
  const bool wanted = plan->tame && !plan->idle && !plan->masked && pixels >= kPixelsWorthAFactor;
  plan->quick = wanted && (FindFactors(all, false, plan) || FindFactors(all, true, plan));
}

}  // namespace pixmorph::kernels
