#include "kernels/draw_factors.h"

#include "support/numeric.h"

namespace pixmorph::kernels {
namespace {

constexpr std::uint32_t kMostColour = 255;

struct Fraction {
  std::uint32_t numerator, denominator;
};

// The one of the smallest denominator from low to high, by their continued fractions.
Fraction Simplest(Fraction low, Fraction high) {
  const std::uint32_t whole = low.numerator / low.denominator;
  const std::uint32_t lowRest = low.numerator - whole * low.denominator;
  const std::uint32_t highRest = high.numerator - whole * high.denominator;
  if (lowRest == 0) return {whole, 1};
  if (highRest >= high.denominator) return {whole + 1, 1};
  const Fraction inverse = Simplest({high.denominator, highRest}, {low.denominator, lowRest});
  return {whole * inverse.numerator + inverse.denominator, inverse.numerator};
}

// Whether no product of a colour and a number from the weight to the factor is whole: their products with a
// colour then have the same whole part. The ends are moved apart to multiples of 2^-24, whose products with
// colours are too far from other whole numbers for doubles to round them there.
bool NoneWholeBetween(double weight, double factor) {
  constexpr std::uint32_t kOne = 1u << 24;
  const bool above = factor > weight;
  const std::int32_t low = TruncateInRange((above ? weight : factor) * kOne);
  const std::int32_t high = TruncateInRange((above ? factor : weight) * kOne) + 1;
  const Fraction simplest =
      Simplest({static_cast<std::uint32_t>(low), kOne}, {static_cast<std::uint32_t>(high), kOne});
  return simplest.denominator > kMostColour;
}

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

// One next to the weight. Of most weights the first or the second will do without a look at each colour.
bool FindFactor(double weight, std::int32_t shift, std::uint16_t* factor) {
  const double one = 65536 << shift, exact = weight * one;
  const std::int32_t below = TruncateToInt32(exact), most = below < 65535 ? below + 1 : 65535;
  for (std::int32_t candidate = most; candidate >= below; --candidate) {
    *factor = static_cast<std::uint16_t>(candidate);
    if (NoneWholeBetween(weight, candidate / one)) return true;
  }
  for (std::int32_t candidate = most; candidate >= below - 1 && candidate >= 0; --candidate) {
    *factor = static_cast<std::uint16_t>(candidate);
    if (Matches(weight, exact, *factor, 16 + shift)) return true;
  }
  return false;
}

}  // namespace pixmorph::kernels
