#include "kernels/draw_factors.h"

#include "support/numeric.h"

namespace pixmorph::kernels {
namespace {

constexpr std::uint32_t kMostColour = 255;

// `exact` is the weight in the factor's units. Products can only differ where the factor's is as near to a
// whole number as the factor's distance from the weight makes them differ; there the colour is tried.
// Fractions and distances are numbers of 32 bits behind the point.
bool Matches(double weight, double exact, std::uint32_t factor, std::int32_t bits) {
  const double distance = exact - static_cast<double>(factor);
  const bool above = distance <= 0;
  const double apart = (above ? -distance : distance) * (1u << (32 - bits));
  const std::uint32_t step = static_cast<std::uint32_t>(TruncateInRange(apart)) + 1;
  std::uint32_t fraction = 0, slack = 1;
  for (std::uint32_t colour = 1; colour <= kMostColour; ++colour) {
    fraction += factor << (32 - bits), slack += step;
    const bool near = (above ? fraction : ~fraction) < slack;
    if (near && static_cast<std::int32_t>(colour * factor >> bits) != TruncateInRange(colour * weight))
      return false;
  }
  return true;
}

}  // namespace

// One next to the weight.
bool FindFactor(double weight, std::int32_t shift, std::uint16_t* factor) {
  const double exact = weight * (65536 << shift);
  const std::int32_t below = TruncateToInt32(exact);
  for (std::int32_t candidate = below + 1; candidate >= below - 1; --candidate) {
    if (candidate < 0 || candidate > 65535) continue;
    *factor = static_cast<std::uint16_t>(candidate);
    if (Matches(weight, exact, *factor, 16 + shift)) return true;
  }
  return false;
}

}  // namespace pixmorph::kernels
