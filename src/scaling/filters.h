#ifndef PIXMORPH_SCALING_FILTERS_H_
#define PIXMORPH_SCALING_FILTERS_H_

#include <cstdint>

// The seven reconstruction filters. Each takes the distance t >= 0 between an output sample's centre and a
// source sample's centre (source samples when enlarging, destination samples when shrinking) and gives the
// weight. [pure]
namespace pixmorph {

double triangleFilter(double t);
double boxFilter(double t);       // includes t = 0.5: at an exact tie both neighbours count
double lanczos3Filter(double t);  // windowed sinc, 3 lobes
double lanczos8Filter(double t);  // windowed sinc, 8 lobes
double mitchellFilter(double t);  // B = C = 1/3
double poly3Filter(double t);     // cubic convolution, a = -0.75
double cubicFilter(double t);     // cubic convolution over six samples

struct Filter {
  double (*weight)(double t);
  double support;  // half-width of the window in which taps are looked for
  // The weights of `count` distances at once, or many times faster what is within `error` of each,
  // relatively, and 0 where that is 0.
  void (*estimate)(const double* distances, std::int32_t count, double* weights);
  double error;  // 0: they are the weights
};

constexpr std::int32_t kFirstFilterMode = 1;
constexpr std::int32_t kLastFilterMode = 7;

// The filter of a mode, kFirstFilterMode .. kLastFilterMode. [pure]
const Filter& FilterOfMode(std::int32_t mode);

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_FILTERS_H_
