#include "kernels/draw_kernel.h"

namespace pixmorph::kernels {
namespace {

constexpr std::int64_t kPixelsWorthAFactor = 4096;

bool IsTame(double weight) {
  const double size = weight < 0 ? -weight : weight;
  return size == 0 || (size >= 1e-200 && size <= 1000);
}

bool Matches(double weight, std::uint32_t factor, std::int32_t shift) {
  for (std::uint32_t colour = 0; colour < 256; ++colour) {
    const std::int32_t product = TruncateToInt32(static_cast<double>(colour) * weight);
    if (static_cast<std::int32_t>(colour * factor >> 16 >> shift) != product) return false;
  }
  return true;
}

// The largest shift makes the most of the factor's 16 bits. Products that are whole numbers but for the
// weight's own rounding may need the factor on one side of the weight or the other, and in rare cases have
// none.
bool FindFactor(double weight, std::uint16_t* factor, std::int32_t* shift) {
  if (!(weight >= 0 && weight < 1)) return false;
  double scaled = weight * 65536;
  for (*shift = 0; *shift < 15 && scaled < 32767; ++*shift) scaled *= 2;
  const std::int32_t below = TruncateToInt32(scaled);
  for (std::int32_t candidate = below + 1; candidate >= below - 1; --candidate) {
    if (candidate < 0 || candidate > 65535) continue;
    *factor = static_cast<std::uint16_t>(candidate);
    if (Matches(weight, *factor, *shift)) return true;
  }
  return false;
}

}  // namespace

void FinishDrawPlan(DrawPlan* plan, std::int64_t pixels) {
  plan->tame = plan->idle = true;
  double rest = 1.0;
  for (const double weight : plan->weights) {
    plan->tame = plan->tame && IsTame(weight);
    plan->idle = plan->idle && weight == 0;
    rest -= weight;
  }
  const double* weights = plan->weights;
  plan->copying = !plan->masked && weights[kLowerRight] == 1 && weights[kUpperLeft] == 0 &&
                  weights[kUpperRight] == 0 && weights[kLowerLeft] == 0;
  plan->quick = plan->tame && !plan->idle && !plan->masked && pixels >= kPixelsWorthAFactor;
  for (int i = 0; plan->quick && i <= kDrawNeighbours; ++i)
    plan->quick =
        FindFactor(i < kDrawNeighbours ? plan->weights[i] : rest, &plan->factors[i], &plan->shifts[i]);
}

}  // namespace pixmorph::kernels
