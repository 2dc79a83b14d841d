#include "bench/workload.h"

#include <cmath>
#include <utility>

namespace bench {

const char* const kKernelNames[8] = {"",         "triangle", "box",   "lanczos3",
                                     "lanczos8", "mitchell", "poly3", "cubic"};

namespace {

// Goal and stretch of the kernels by mode, as multiples of the memcpy: reduction, then enlargement.
constexpr double kReduce[8][2] = {{},           {1.67, 1.27}, {0.83, 0.63}, {3.17, 2.33},
                                  {6.00, 4.33}, {2.33, 1.83}, {2.33, 1.83}, {3.00, 2.17}};
constexpr double kEnlarge[8][2] = {{},           {1.23, 0.67}, {0.47, 0.33}, {2.33, 1.67},
                                   {3.67, 2.67}, {2.00, 1.40}, {1.77, 1.00}, {2.33, 1.67}};

Workload Scale(const char* name, int sw, int sh, int w, int h, bool antiAlias, double goal, double stretch) {
  Workload row{name, Method::kScale, sw, sh, w, h};
  row.antiAlias = antiAlias;
  row.goal = goal;
  row.stretch = stretch;
  return row;
}

Workload Scaling(int mode, int sw, int sh, int w, int h, const double (&targets)[2]) {
  Workload row{
      std::string(w < sw ? "reduce " : "enlarge ") + kKernelNames[mode], Method::kScaling, sw, sh, w, h};
  row.mode = mode;
  row.goal = targets[0];
  row.stretch = targets[1];
  return row;
}

Workload Blur(const std::string& name, double radius, int w, int h, double goal, double stretch) {
  Workload row{name, Method::kBlur, w, h, w, h};
  row.radius = radius;
  row.goal = goal;
  row.stretch = stretch;
  return row;
}

Workload Draw(const char* name, Method method, double goal, double stretch) {
  Workload row{name, method, 1000, 750, 2000, 1500};
  row.goal = goal;
  row.stretch = stretch;
  return row;
}

Sweep SizeSweep() {
  Sweep sweep{"size", "megapixels of the source", {}};
  for (double megapixels : {0.1, 0.4, 1.6, 6.4, 12.0, 25.6, 64.0}) {
    const int w = static_cast<int>(std::lround(std::sqrt(megapixels * 1e6 * 4 / 3)));
    const int h = static_cast<int>(std::lround(w * 0.75));
    sweep.points.push_back({megapixels, Scale("scale 1/4", w, h, w / 4, h / 4, false, 0, 0)});
    sweep.points.push_back({megapixels, Scaling(3, w, h, w / 4, h / 4, kReduce[0])});
    sweep.points.push_back({megapixels, Blur("blur r=10", 10, w, h, 0, 0)});
  }
  return sweep;
}

Sweep RadiusSweep() {
  Sweep sweep{"radius", "radius in pixels", {}};
  for (double radius : {1, 2, 4, 8, 16, 32, 64, 127, 128, 129, 256, 512, 1000})
    sweep.points.push_back({radius, Blur("blur 4000x3000", radius, 4000, 3000, 0, 0)});
  return sweep;
}

Sweep TapsSweep() {
  Sweep sweep{"taps", "taps per axis", {}};
  constexpr double kSupport[8] = {0, 1, 0.5, 3, 8, 2, 2, 3};
  for (int mode = 1; mode <= 7; ++mode)
    for (int divisor : {2, 4, 8}) {
      Workload row = Scaling(mode, 4000, 3000, 4000 / divisor, 3000 / divisor, kReduce[0]);
      row.name = kKernelNames[mode];
      sweep.points.push_back({2 * kSupport[mode] * divisor, row});
    }
  return sweep;
}

// Pictures so small that setting up is most of the work.
Sweep IconSweep() {
  Sweep sweep{"icons", "pixels a side", {}};
  for (int side : {16, 32, 48, 64, 128, 256}) {
    const std::vector<Workload> rows = {
        Scale("scale to half", side, side, side / 2, side / 2, false, 0, 0),
        Scale("smooth to double", side, side, side * 2, side * 2, true, 0, 0),
        Scaling(3, side, side, side * 3 / 2, side * 3 / 2, kReduce[0]),
        Blur("blur r=2", 2, side, side, 0, 0),
        {"draw at a fraction", Method::kDraw, side, side, side * 2, side * 2},
    };
    for (const Workload& row : rows) sweep.points.push_back({double(side), row});
  }
  return sweep;
}

}  // namespace

std::vector<Workload> StandardWorkloads() {
  std::vector<Workload> rows = {
      Scale("scale to 1000x750", 4000, 3000, 1000, 750, false, 0.60, 0.52),
      Scale("scale to 1234x777", 4000, 3000, 1234, 777, false, 0.93, 0.73),
      Scale("repeat to 4000x3000", 1000, 750, 4000, 3000, false, 0.50, 0.45),
      Scale("smooth to 2000x1500", 1000, 750, 2000, 1500, true, 0.70, 0.50),
      Scale("smooth to 3000x2250", 1000, 750, 3000, 2250, true, 1.37, 1.10),
  };
  for (int mode = 1; mode <= 7; ++mode) rows.push_back(Scaling(mode, 4000, 3000, 1000, 750, kReduce[mode]));
  for (int mode = 1; mode <= 7; ++mode) rows.push_back(Scaling(mode, 1000, 750, 2500, 1875, kEnlarge[mode]));
  rows.push_back(Blur("blur r=1", 1, 4000, 3000, 2.17, 1.67));
  rows.push_back(Blur("blur r=10", 10, 4000, 3000, 2.50, 1.83));
  rows.push_back(Blur("blur r=100", 100, 4000, 3000, 3.00, 2.17));
  rows.push_back(Draw("draw at a fraction", Method::kDraw, 0.27, 0.15));
  rows.push_back(Draw("draw with mask", Method::kDrawMasked, 0.67, 0.32));
  return rows;
}

std::vector<Workload> ChecksumWorkloads() {
  std::vector<Workload> rows = {
      Scale("average whole", 320, 240, 80, 60, false, 0, 0),
      Scale("average odd", 331, 247, 97, 53, false, 0, 0),
      Scale("average thousands", 4096, 40, 3, 7, false, 0, 0),
      Scale("repeat", 53, 41, 331, 247, false, 0, 0),
      Scale("smooth twice", 111, 83, 222, 166, true, 0, 0),
      Scale("smooth odd", 111, 83, 317, 251, true, 0, 0),
  };
  for (int mode = 1; mode <= 7; ++mode)
    for (const auto& size : {std::pair{80, 60}, std::pair{333, 250}, std::pair{101, 250}}) {
      Workload row = Scaling(mode, 211, 157, size.first, size.second, kReduce[0]);
      row.name = std::string(kKernelNames[mode]) + " to " + std::to_string(size.first) + "x" +
                 std::to_string(size.second);
      rows.push_back(row);
    }
  for (int radius : {1, 2, 10, 128, 129, 300})
    rows.push_back(Blur("blur " + std::to_string(radius), radius, 211, 157, 0, 0));
  for (Workload row :
       {Draw("draw", Method::kDraw, 0, 0), Draw("draw with mask", Method::kDrawMasked, 0, 0)}) {
    row.sourceWidth = 111, row.sourceHeight = 83, row.width = 211, row.height = 157;
    rows.push_back(row);
  }
  return rows;
}

std::vector<Sweep> StandardSweeps() { return {SizeSweep(), RadiusSweep(), TapsSweep(), IconSweep()}; }

}  // namespace bench
