#include "kernels/resample_kernel.h"

namespace pixmorph::kernels {

namespace ref {

namespace {

struct Sums {
  double red = 0.0, green = 0.0, blue = 0.0;

  void Add(double weight, Rgb c) {
    red += weight * c.red;
    green += weight * c.green;
    blue += weight * c.blue;
  }
  Rgb Divided(float weightSum) const {
    return {ResampledChannel(red, weightSum), ResampledChannel(green, weightSum),
            ResampledChannel(blue, weightSum)};
  }
};

}  // namespace

std::uint8_t ResampledChannel(double sum, float weightSum) {
  const double quotient = sum / static_cast<double>(weightSum);
  const bool finite = quotient - quotient == 0.0;
  return finite ? RoundToByte(quotient) : 0;
}

void ResampleAlongRow(std::uint32_t* out, const ContributionList* lists, std::int32_t count,
                      const std::uint8_t* source, PixelLayout layout) {
  const std::int64_t pixelBytes = BytesPerPixel(layout);
  for (std::int32_t i = 0; i < count; ++i) {
    const ContributionList& list = lists[i];
    Sums sums;
    for (std::int32_t t = 0; t < list.count; ++t) {
      const Contribution& tap = list.entries[t];
      sums.Add(tap.weight, LoadPixel(layout, source + tap.pixel * pixelBytes));
    }
    Bgrx0::Store(reinterpret_cast<std::uint8_t*>(out + i), sums.Divided(list.weightSum));
  }
}

void ResampleAlongRow(std::uint32_t* out, const AxisWeights& axis, const std::uint8_t* source,
                      PixelLayout layout) {
  const std::int64_t pixelBytes = BytesPerPixel(layout);
  for (std::int32_t i = 0; i < axis.count; ++i) {
    const WeightBlock& block = axis.blocks[axis.lists[i].block];
    Sums sums;
    for (std::int32_t t = 0; t < block.count; ++t)
      sums.Add(axis.weights[block.offset + t],
               LoadPixel(layout, source + (axis.lists[i].first + t) * pixelBytes));
    Bgrx0::Store(reinterpret_cast<std::uint8_t*>(out + i), sums.Divided(block.sum));
  }
}

void ResampleAlongColumns(std::uint8_t* out, PixelLayout layout, const ContributionList& list,
                          const std::uint32_t* intermediate, std::int32_t width) {
  const std::int64_t pixelBytes = BytesPerPixel(layout);
  for (std::int32_t i = 0; i < width; ++i) {
    Sums sums;
    for (std::int32_t t = 0; list.entries && t < list.count; ++t) {
      const Contribution& tap = list.entries[t];
      const std::uint32_t* word = intermediate + std::int64_t{tap.pixel} * width + i;
      sums.Add(tap.weight, Bgrx0::Load(reinterpret_cast<const std::uint8_t*>(word)));
    }
    StorePixel(layout, out + i * pixelBytes, sums.Divided(list.weightSum));
  }
}

}  // namespace ref

extern const ResampleKernels kResampleScalar = {ref::ResampleAlongRow, ref::ResampleAlongColumns, nullptr,
                                                nullptr};

}  // namespace pixmorph::kernels
