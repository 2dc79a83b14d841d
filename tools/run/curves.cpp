#include "tools/run/curves.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "standin/methods.h"
#include "standin/picture.h"
#include "tools/failure.h"
#include "tools/parsing/kernel_names.h"

namespace tool {
namespace {

constexpr int kReach = 9;
// The taps of the widest kernel stay inside the picture for every sampled distance.
constexpr int kCentre = 2 * kReach + 1;
constexpr int kPictureWidth = 2 * kCentre + 1;
constexpr std::int32_t kResultWidth = kPictureWidth * kCurveSteps;
constexpr std::size_t kSamples = 2 * kReach * kCurveSteps + 1;
// Where the first sampled distance lies in the result: kCurveSteps is odd, so the samples hit whole pixels.
constexpr std::size_t kFirst = kCentre * kCurveSteps + kCurveSteps / 2 - kReach * kCurveSteps;

// What one result byte tells about a weight is an interval; different heights of the pixel above its ground
// give different intervals, and the weight lies in all of them.
struct Bounds {
  double low = -2;
  double high = 2;

  void Narrow(double result, double ground, double height) {
    if (result <= 0 || result >= 255) return;
    const double a = (result - 0.5 - ground) / height;
    const double b = (result + 0.5 - ground) / height;
    low = std::max(low, std::min(a, b));
    high = std::min(high, std::max(a, b));
  }
  double Middle() const { return (low + high) / 2; }
};

struct Levels {
  std::uint32_t ground, peak;
};

// Grounds high and low leave room for lobes below and above; their many differences narrow the bounds.
std::vector<std::array<Levels, 3>> AllLevels() {
  std::vector<std::array<Levels, 3>> all;
  for (std::uint32_t i = 0; i < 20; ++i)
    all.push_back({{{50 + i, 250 - 3 * i}, {200 - i, 5 + 4 * i}, {100 + i, 230 - i}}});
  return all;
}

standin::Ref SinglePixel(const std::array<Levels, 3>& levels, const Session& session) {
  Image image{{kPictureWidth, 1}, false, {}};
  for (int x = 0; x < kPictureWidth; ++x) {
    std::uint32_t pixel = 0xFF;
    for (const Levels& level : levels) pixel = pixel << 8 | (x == kCentre ? level.peak : level.ground);
    image.pixels.push_back(pixel);
  }
  return session.MakePicture(image, Session::Alpha::kDropped);
}

Curve Sample(int mode, const Session& session) {
  std::vector<Bounds> bounds(kSamples);
  for (const std::array<Levels, 3>& levels : AllLevels()) {
    const standin::Ref enlarged = standin::Scaling(SinglePixel(levels, session), mode, kResultWidth, 1);
    if (!enlarged) throw Failure(Exit::kMethod, "ScalingKTZ gave no picture: try another --mode");
    const std::vector<std::uint32_t> pixels = standin::GetPixels(enlarged);
    for (std::size_t i = 0; i < kSamples; ++i) {
      for (std::size_t channel = 0; channel < 3; ++channel) {
        const Levels& level = levels[channel];
        bounds[i].Narrow(pixels[kFirst + i] >> (16 - 8 * channel) & 0xFF, level.ground,
                         static_cast<double>(level.peak) - level.ground);
      }
    }
  }
  Curve curve{mode, {}, kReach};
  for (const Bounds& bound : bounds) curve.weights.push_back(bound.Middle());
  return curve;
}

constexpr double kUnit = 40;  // SVG units to a source pixel
constexpr double kTop = 1.1;  // highest weight shown
constexpr double kHeight = 260;
constexpr double kScale = 170;  // SVG units to a weight of 1
constexpr const char* kColours[kKernelCount] = {"#1b6ca8", "#d1495b", "#2a9d3f", "#8e5fb5",
                                                "#e08a1e", "#4c4c4c", "#009e9e"};

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

std::string Line(double x1, double y1, double x2, double y2) {
  return "<line x1=\"" + Number(x1) + "\" y1=\"" + Number(y1) + "\" x2=\"" + Number(x2) + "\" y2=\"" +
         Number(y2) + "\" stroke=\"#bbb\"/>\n";
}

double SvgX(double distance) { return (distance + kReach + 0.5) * kUnit; }
double SvgY(double weight) { return 10 + (kTop - weight) * kScale; }

std::string Axes() {
  std::string axes = Line(SvgX(-kReach), SvgY(0), SvgX(kReach), SvgY(0)) +
                     Line(SvgX(-kReach), SvgY(1), SvgX(kReach), SvgY(1));
  for (int x = -kReach; x <= kReach; ++x) {
    axes += Line(SvgX(x), SvgY(0) - 3, SvgX(x), SvgY(0) + 3);
    axes += "<text x=\"" + Number(SvgX(x)) + "\" y=\"" + Number(SvgY(0) + 16) + "\" text-anchor=\"middle\">" +
            std::to_string(x) + "</text>\n";
  }
  return axes;
}

std::string Drawn(const Curve& curve, const char* colour) {
  std::string points;
  for (std::size_t i = 0; i < curve.weights.size(); ++i)
    points += Number(SvgX(curve.Distance(i))) + "," + Number(SvgY(curve.weights[i])) + " ";
  const KernelRow& row = KernelRows()[static_cast<std::size_t>(curve.mode - 1)];
  return "<polyline fill=\"none\" stroke=\"" + std::string(colour) + "\" stroke-width=\"1.5\" points=\"" +
         points + "\"/>\n<text x=\"24\" y=\"" + std::to_string(24 + 15 * curve.mode) + "\" fill=\"" + colour +
         "\">" + row.name + "</text>\n";
}

}  // namespace

std::vector<Curve> SampleCurves(const Session& session) {
  RequireMethod("ScalingKTZ", session);
  std::vector<Curve> curves;
  for (const KernelRow& row : KernelRows()) curves.push_back(Sample(row.mode, session));
  return curves;
}

std::string CurvesSvg(const std::vector<Curve>& curves) {
  const std::string size = Number((2 * kReach + 1) * kUnit) + " " + Number(kHeight);
  std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + size +
                    "\" font-family=\"sans-serif\" font-size=\"12\">\n"
                    "<title>Weight of a pixel by distance, in source pixels, when enlarging</title>\n"
                    "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n" +
                    Axes();
  for (const Curve& curve : curves) svg += Drawn(curve, kColours[curve.mode - 1]);
  return svg + "</svg>\n";
}

std::string CurvesTable(const std::vector<Curve>& curves) {
  char cell[32];
  std::string table = "DISTANCE";
  for (const KernelRow& row : KernelRows()) {
    std::snprintf(cell, sizeof cell, "%10s", row.name);
    table += cell;
  }
  for (std::size_t i = kReach * kCurveSteps; i < kSamples; i += kCurveSteps / 5) {
    std::snprintf(cell, sizeof cell, "\n%8.1f", curves.front().Distance(i));
    table += cell;
    for (const Curve& curve : curves) {
      // No sign for what is nothing within the precision.
      const double weight = std::abs(curve.weights[i]) < 0.0005 ? 0 : curve.weights[i];
      std::snprintf(cell, sizeof cell, "%10.3f", weight);
      table += cell;
    }
  }
  return table + "\n";
}

}  // namespace tool
