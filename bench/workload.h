#ifndef PIXMORPH_BENCH_WORKLOAD_H_
#define PIXMORPH_BENCH_WORKLOAD_H_

#include <string>
#include <vector>

#include "bench/content.h"

namespace bench {

enum class Method { kScale, kScaling, kBlur, kDraw, kDrawMasked };

// One row of the benchmark: a method, its sizes in pixels and its argument.
struct Workload {
  std::string name;
  Method method;
  int sourceWidth, sourceHeight;
  int width, height;  // of the result; of the destination for the draws
  int mode = 0;       // kernel 1..7 of ScalingKTZ
  bool antiAlias = false;
  double radius = 0;                       // pixels
  Content content = Content::kPhotograph;  // of the source
  double goal = 0;                         // multiples of one 4000x3000 memcpy; 0: none
  double stretch = 0;
};

constexpr double kDrawX = 10.5, kDrawY = 20.25, kDrawOpacity = 0.7;

// The standing table of workloads.
std::vector<Workload> StandardWorkloads();

// Small workloads over every method whose results have committed checksums.
std::vector<Workload> ChecksumWorkloads();

// One series of workloads whose cost is plotted against one variable.
struct SweepPoint {
  double variable;
  Workload workload;
};
struct Sweep {
  std::string name;      // "size", "radius", "taps" or "icons"
  std::string variable;  // what `SweepPoint::variable` counts, with its unit
  std::vector<SweepPoint> points;
};
std::vector<Sweep> StandardSweeps();

// Kernel names of ScalingKTZ by mode; index 0 is unused.
extern const char* const kKernelNames[8];

}  // namespace bench

#endif  // PIXMORPH_BENCH_WORKLOAD_H_
