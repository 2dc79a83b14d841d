#include "picture/pixel_format.h"

namespace pixmorph {

namespace {

constexpr PixelTypeRow kNoPixels = {0, 0, 0, 0};

constexpr PixelTypeRow kPixelTypes[] = {
    {0, 0, 0, 0},  // 0
    {4, 0, 1, 2},  // 1
    {4, 1, 2, 3},  // 2
    {4, 0, 1, 2},  // 3
    {4, 1, 2, 3},  // 4
    {4, 0, 1, 2},  // 5
    {4, 1, 2, 3},  // 6
    {0, 0, 0, 0},  // 7
    {4, 2, 1, 0},  // 8, kPixelHostRGB32
    {4, 2, 1, 0},  // 9
    {3, 2, 1, 0},  // 10
    {3, 0, 1, 2},  // 11, kPixelRGB24
    {3, 0, 1, 2},  // 12
    {4, 1, 2, 3},  // 13
    {4, 2, 1, 0},  // 14, kPixelCairoAlpha32
    {4, 2, 1, 0},  // 15, kPixelCairoRGB32
    {4, 2, 1, 0},  // 16
};
constexpr std::int32_t kPixelTypeCount = sizeof(kPixelTypes) / sizeof(kPixelTypes[0]);
static_assert(kPixelTypeCount == 17);

}  // namespace

const PixelTypeRow& PixelTypeInfo(std::int32_t pixelType) {
  return pixelType >= 0 && pixelType < kPixelTypeCount ? kPixelTypes[pixelType] : kNoPixels;
}

kernels::PixelLayout LayoutOf(std::int32_t pixelType) {
  switch (pixelType) {
    case kPixelHostRGB32:
      return kernels::PixelLayout::kBgrx0;
    case kPixelRGB24:
      return kernels::PixelLayout::kRgb24;
    case kPixelCairoAlpha32:
    case kPixelCairoRGB32:
      return kernels::PixelLayout::kBgrxF;
    default:
      return kernels::PixelLayout::kNone;
  }
}

}  // namespace pixmorph
