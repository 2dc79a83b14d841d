#include "kernels/draw_factors.h"

#include "support/numeric.h"

namespace pixmorph::kernels {
namespace {

constexpr std::int32_t kMostColour = 255;

std::int32_t Product(double weight, std::int32_t colour) {
  return TruncateInRange(static_cast<double>(colour) * weight);
}

// Neither product ever falls from one colour to the next. So they are equal for all colours if they are where
// the factor's steps up to each whole number, right before that, and at the end.
bool Matches(double weight, std::uint32_t factor, std::int32_t bits) {
  const double coloursAStep = static_cast<double>(1u << bits) / static_cast<double>(factor > 0 ? factor : 1);
  const std::int32_t steps = factor > 0 ? static_cast<std::int32_t>(kMostColour * factor >> bits) : 0;
  for (std::int32_t k = 1; k <= steps; ++k) {
    std::int32_t colour = TruncateInRange(k * coloursAStep);
    while (static_cast<std::int32_t>(static_cast<std::uint32_t>(colour) * factor >> bits) < k) ++colour;
    if (Product(weight, colour) != k || Product(weight, colour - 1) != k - 1) return false;
  }
  return Product(weight, kMostColour) == steps;
}

}  // namespace

// One next to the weight.
bool FindFactor(double weight, std::int32_t shift, std::uint16_t* factor) {
  const std::int32_t below = TruncateToInt32(weight * (65536 << shift));
  for (std::int32_t candidate = below + 1; candidate >= below - 1; --candidate) {
    if (candidate < 0 || candidate > 65535) continue;
    *factor = static_cast<std::uint16_t>(candidate);
    if (Matches(weight, *factor, 16 + shift)) return true;
  }
  return false;
}

}  // namespace pixmorph::kernels
