#include "scaling/filters.h"

#include <math.h>

// The order of every operation below decides bytes of the result: sums run left to right as written.
namespace pixmorph {

namespace {

double Sinc(double u) {
  if (u == 0.0) return 1.0;
  const double x = 3.141592653589793 * u;
  return sin(x) / x;
}

constexpr Filter kFilters[] = {
    {triangleFilter, 1.0}, {boxFilter, 0.5},   {lanczos3Filter, 3.0}, {lanczos8Filter, 8.0},
    {mitchellFilter, 2.0}, {poly3Filter, 4.0},  // wider than its weights, which end at 2
    {cubicFilter, 3.0},
};

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

const Filter& FilterOfMode(std::int32_t mode) { return kFilters[mode - kFirstFilterMode]; }

}  // namespace pixmorph
