#ifndef PIXMORPH_TOOLS_RUN_CURVES_H_
#define PIXMORPH_TOOLS_RUN_CURVES_H_

#include <string>
#include <vector>

#include "tools/run/session.h"

namespace tool {

// Steps of a curve to each source pixel.
constexpr int kCurveSteps = 25;

// How much a pixel weighs at some distance from it when ScalingKTZ enlarges, found out by enlarging single
// pixels with the loaded library.
struct Curve {
  int mode = 0;
  // At the distances -reach, ... , 0, ... , reach in source pixels, kCurveSteps to a pixel; good to about
  // 0.001.
  std::vector<double> weights;
  int reach = 0;

  double Distance(std::size_t index) const { return static_cast<double>(index) / kCurveSteps - reach; }
};

// The curves of all kernels, as far as the widest one reaches and one pixel on. Throws Failure.
std::vector<Curve> SampleCurves(const Session& session);

// A drawing of the curves. [pure]
std::string CurvesSvg(const std::vector<Curve>& curves);
// A table, five rows to a source pixel, of the right half: the curves are symmetric. [pure]
std::string CurvesTable(const std::vector<Curve>& curves);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_RUN_CURVES_H_
