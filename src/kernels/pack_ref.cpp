#include "kernels/pack_kernel.h"

#include "kernels/pixel_layout.h"

namespace pixmorph::kernels {
namespace ref {

void Rgb24ToBgrx(std::uint8_t* to, const std::uint8_t* from, std::int32_t count, std::uint32_t top) {
  for (std::int32_t i = 0; i < count; ++i) {
    Bgrx0::Store(to, Rgb24::Load(from));
    to[3] = static_cast<std::uint8_t>(top >> 24);
    to += 4;
    from += 3;
  }
}

void BgrxToRgb24(std::uint8_t* to, const std::uint8_t* from, std::int32_t count) {
  for (std::int32_t i = 0; i < count; ++i) {
    Rgb24::Store(to, Bgrx0::Load(from));
    to += 3;
    from += 4;
  }
}

void BgrxWithTop(std::uint8_t* to, const std::uint8_t* from, std::int32_t count, std::uint32_t top) {
  for (std::int32_t i = 0; i < count; ++i) {
    Bgrx0::Store(to, Bgrx0::Load(from));
    to[3] = static_cast<std::uint8_t>(top >> 24);
    to += 4;
    from += 4;
  }
}

}  // namespace ref

const PackKernels kPackScalar = {ref::Rgb24ToBgrx, ref::Rgb24ToBgrx, ref::BgrxToRgb24, ref::BgrxWithTop};

}  // namespace pixmorph::kernels
