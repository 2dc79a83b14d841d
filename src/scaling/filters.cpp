#include "scaling/filters.h"

#include <math.h>

#include "support/numeric.h"

// The order of every operation below decides bytes of the result: sums run left to right as written.
namespace pixmorph {

namespace {

double Sinc(double u) {
  if (u == 0.0) return 1.0;
  const double x = 3.141592653589793 * u;
  return sin(x) / x;
}

// sin(x) / x for 0 <= x < 26, within a few units in the last place, which near the zeros takes more of pi
// than a double holds: three parts, of which the first two times a small number are exact. Then the sine's
// series; from -pi/2 to pi/2 what is left out, x^23 / 23!, is below 2^-59 of it.
PIXMORPH_INLINE double QuickSinc(double x) {
  constexpr double kPi1 = 0x1.921fb544p+1, kPi2 = 0x1.0b4611a6p-33, kPi3 = 0x1.3198a2e037073p-68;
  const std::int32_t halfTurns = TruncateInRange(x * 0.3183098861837907 + 0.5);
  const double n = halfTurns;
  const double r = ((x - n * kPi1) - n * kPi2) - n * kPi3, s = r * r;
  // By pairs of terms, so that fewer steps wait for each other: 1/3! - s/5! + s^2/7! ...
  const double s2 = s * s;
  const double last = 1 / 355687428096e3 - s * (1 / 121645100408832e3) + s2 * (1 / 5109094217170944e4);
  const double middle = 1 / 39916800.0 - s * (1 / 6227020800.0) + s2 * (1 / 1307674368e3 - s * last);
  const double series = 1 / 6.0 - s * (1 / 120.0) + s2 * (1 / 5040.0 - s * (1 / 362880.0) + s2 * middle);
  // The sine of an odd number of half turns more is the negative.
  const double sign = 1 - 2 * (halfTurns & 1);
  return x == 0.0 ? 1.0 : (r - r * s * series) * sign / x;
}

}  // namespace

double triangleFilter(double t) { return t < 1.0 ? 1.0 - t : 0.0; }

double boxFilter(double t) { return t <= 0.5 ? 1.0 : 0.0; }

double lanczos3Filter(double t) { return t < 3.0 ? Sinc(t) * Sinc(t / 3.0) : 0.0; }

double lanczos8Filter(double t) { return t < 8.0 ? Sinc(t) * Sinc(t * 0.125) : 0.0; }

double mitchellFilter(double t) {
  const double t2 = t * t;
  const double t3 = t2 * t;
  if (t < 1.0) return (7.0 * t3 - 12.0 * t2 + 16.0 / 3.0) / 6.0;
  if (t < 2.0) return (-7.0 / 3.0 * t3 + 12.0 * t2 - 20.0 * t + 32.0 / 3.0) / 6.0;
  return 0.0;
}

double poly3Filter(double t) {
  if (t < 1.0) return (1.25 * t - 2.25) * t * t + 1.0;
  if (t < 2.0) return ((-0.75 * t + 3.75) * t - 6.0) * t + 3.0;
  return 0.0;
}

double cubicFilter(double t) {
  const double t2 = t * t;
  const double t3 = t2 * t;
  if (t <= 1.0) return 4.0 / 3.0 * t3 - 7.0 / 3.0 * t2 + 1.0;
  if (t <= 2.0) return -7.0 / 12.0 * t3 + 3.0 * t2 - 59.0 / 12.0 * t + 2.5;
  if (t <= 3.0) return 1.0 / 12.0 * t3 - 2.0 / 3.0 * t2 + 1.75 * t - 1.5;
  return 0.0;
}

namespace {

// Without a call for each, whose result would go by way of the x87 registers.
template <double (*kWeight)(double)>
void Each(const double* distances, std::int32_t count, double* weights) {
  for (std::int32_t i = 0; i < count; ++i) weights[i] = kWeight(distances[i]);
}

// Sinc(t) * Sinc(t / kLobes), one factor after the other: both at once are too much for eight registers.
template <int kLobes>
void EstimateLanczos(const double* distances, std::int32_t count, double* weights) {
  constexpr double kPi = 3.141592653589793;
  for (std::int32_t i = 0; i < count; ++i) weights[i] = QuickSinc(kPi * distances[i]);
  for (std::int32_t i = 0; i < count; ++i) {
    const double t = distances[i];
    weights[i] = t < kLobes ? weights[i] * QuickSinc(kPi * (t / kLobes)) : 0.0;
  }
}

// Far more than rounding takes on both sides, the C library's `sin` included.
constexpr double kQuickError = 0x1p-46;

constexpr Filter kFilters[] = {
    {triangleFilter, 1.0, Each<triangleFilter>, 0.0},
    {boxFilter, 0.5, Each<boxFilter>, 0.0},
    {lanczos3Filter, 3.0, EstimateLanczos<3>, kQuickError},
    {lanczos8Filter, 8.0, EstimateLanczos<8>, kQuickError},
    {mitchellFilter, 2.0, Each<mitchellFilter>, 0.0},
    {poly3Filter, 4.0, Each<poly3Filter>, 0.0},  // wider than its weights, which end at 2
    {cubicFilter, 3.0, Each<cubicFilter>, 0.0},
};

}  // namespace

const Filter& FilterOfMode(std::int32_t mode) { return kFilters[mode - kFirstFilterMode]; }

}  // namespace pixmorph
