#include "kernels/smooth_enlarge_kernel.h"

namespace pixmorph::kernels {

SmoothWeights SmoothWeightsAt(double t) {
  constexpr float a = 0.0f;  // the cubic's parameter; at 0 only the two nearest samples count
  const double t2 = t * t;
  const double t3 = t2 * t;
  const auto rounded = [](double weight) { return static_cast<float>(weight); };
  return {{rounded(-a * t3 + a * t2), rounded(-(a + 2.0) * t3 + (2.0 * a + 3.0) * t2 - a * t),
           rounded((a + 2.0) * t3 - (a + 3.0) * t2 + 1.0), rounded(a * t3 - 2.0 * a * t2 + a * t)}};
}

namespace ref {
namespace {

std::int32_t Clamped(std::int32_t column, std::int32_t width) {
  return column < 0 ? 0 : column < width ? column : width - 1;
}

}  // namespace

void SmoothVertical(float* buffer, const std::uint8_t* const rows[4], std::int32_t pixelBytes,
                    const SmoothWeights& weights, std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x) {
    float sum = 0;
    for (int tap = 0; tap < 4; ++tap) {
      const float product = static_cast<float>(rows[tap][x * pixelBytes]) * weights.tap[3 - tap];
      sum = sum + product;
    }
    buffer[x] = sum;
  }
}

void SmoothHorizontal(std::uint8_t* out, std::int32_t pixelBytes, const float* buffer, std::int32_t width,
                      const std::int32_t* index, const SmoothWeights* weights, std::int32_t count) {
  for (std::int32_t x = 0; x < count; ++x) {
    const auto sample = [&](std::int32_t offset) {
      return double{buffer[Clamped(index[x] + offset, width)]};
    };
    const float* weight = weights[x].tap;
    double v = sample(-1) * weight[3];
    v = v + 0.5;
    v = v + sample(0) * weight[2];
    v = v + sample(1) * weight[1];
    v = v + sample(2) * weight[0];
    *out = ClampToByte(TruncateToInt32(v));
    out += pixelBytes;
  }
}

std::int32_t UnpackLine(float* line, const std::uint8_t* row, std::int32_t width) {
  bool alike = true;
  for (std::int32_t i = 0; i < width * 4; ++i) line[i] = row[i];
  for (std::int32_t i = 0; i < width * 4; i += 4) alike = alike && row[i + 3] == row[3];
  for (std::int32_t i = 0; i < 4; ++i) line[width * 4 + i] = line[width * 4 - 4 + i];
  return alike ? row[3] : -1;
}

void BlendLines(float* out, const float* upper, const float* lower, float weight0, float weight1,
                std::int32_t width, bool /*withTop*/) {
  for (std::int32_t i = 0; i < width * 4 + 4; ++i) {
    const float above = upper[i] * weight0;
    const float below = lower[i] * weight1;
    out[i] = above + below;
  }
}

void InterpolateLine(std::uint8_t* out, const SmoothLine& line, const SmoothColumns& columns) {
  for (std::int32_t x = 0; x < columns.count; ++x) {
    for (int channel = 0; channel < 4; ++channel) {
      const float* sample = line.values + columns.index[x] * 4 + channel;
      double v = 0.5 * kSmoothWeightScale;
      v = v + double{sample[0]} * columns.weight0[x];
      v = v + double{sample[4]} * columns.weight1[x];
      *out++ = ClampToByte(TruncateToInt32(v / kSmoothWeightScale));
    }
    if (line.top >= 0) out[-1] = static_cast<std::uint8_t>(line.top);
  }
}

void DoubleRow(std::uint8_t* out, const std::uint8_t* upper, const std::uint8_t* lower, std::int32_t width) {
  for (std::int32_t x = 0; x < width; ++x, out += 8) {
    const std::int32_t next = x + 1 < width ? x + 1 : x;
    for (std::int32_t i = 0; i < 4; ++i) {
      const int here = upper[x * 4 + i] + lower[x * 4 + i];
      const int there = upper[next * 4 + i] + lower[next * 4 + i];
      out[i] = static_cast<std::uint8_t>((here + 1) >> 1);
      out[i + 4] = static_cast<std::uint8_t>((here + there + 2) >> 2);
    }
  }
}

}  // namespace ref

const SmoothEnlargeKernels kSmoothEnlargeScalar = {ref::UnpackLine, ref::BlendLines, ref::InterpolateLine,
                                                   nullptr,         nullptr,         ref::DoubleRow};

}  // namespace pixmorph::kernels
