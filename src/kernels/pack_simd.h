#ifndef PIXMORPH_KERNELS_PACK_SIMD_H_
#define PIXMORPH_KERNELS_PACK_SIMD_H_

#include <string.h>

#include "kernels/pack_kernel.h"
#include "kernels/read_ahead.h"
#include "support/numeric.h"

// Row conversions over the vector types of vec_*.h. Included by the files of the instruction sets only.
namespace pixmorph::kernels {
namespace {

// Four pixels of 24 bits are read as 16 bytes, of which the last four belong to the next ones: the loops stop
// while a whole vector is there to be read or written, and leave the rest to the plain way.
template <class V, bool kAhead>
PIXMORPH_INLINE void Rgb24ToBgrxBy(std::uint8_t* to, const std::uint8_t* from, std::int32_t count,
                                   std::uint32_t top) {
  const V tops = V::Set32(top);
  std::int32_t x = 0;
  for (; x + V::kPixels + 2 <= count; x += V::kPixels) {
    if (kAhead) ReadAhead<1, 3 * V::kPixels>(from, 3 * x);
    V::Or(V::LoadRgb24(from + x * 3), tops).Store(to + x * 4);
  }
  ref::Rgb24ToBgrx(to + x * 4, from + x * 3, count - x, top);
}

template <class V>
PIXMORPH_INLINE void BgrxToRgb24By(std::uint8_t* to, const std::uint8_t* from, std::int32_t count) {
  std::int32_t x = 0;
  for (; x + V::kPixels + 2 <= count; x += V::kPixels) V::Load(from + x * 4).StoreRgb24(to + x * 3);
  ref::BgrxToRgb24(to + x * 3, from + x * 4, count - x);
}

template <class V>
PIXMORPH_INLINE void BgrxWithTopBy(std::uint8_t* to, const std::uint8_t* from, std::int32_t count,
                                   std::uint32_t top) {
  const V tops = V::Set32(top);
  std::int32_t x = 0;
  for (; x + V::kPixels <= count; x += V::kPixels) V::WithTops(V::Load(from + x * 4), tops).Store(to + x * 4);
  ref::BgrxWithTop(to + x * 4, from + x * 4, count - x, top);
}

template <class V>
struct PackOver {
  static void Rgb24ToBgrx(std::uint8_t* to, const std::uint8_t* from, std::int32_t count, std::uint32_t top) {
    Rgb24ToBgrxBy<V, false>(to, from, count, top);
  }
  static void Rgb24ToBgrxAhead(std::uint8_t* to, const std::uint8_t* from, std::int32_t count,
                               std::uint32_t top) {
    Rgb24ToBgrxBy<V, true>(to, from, count, top);
  }
  static void BgrxToRgb24(std::uint8_t* to, const std::uint8_t* from, std::int32_t count) {
    BgrxToRgb24By<V>(to, from, count);
  }
  static void BgrxWithTop(std::uint8_t* to, const std::uint8_t* from, std::int32_t count, std::uint32_t top) {
    BgrxWithTopBy<V>(to, from, count, top);
  }
  static constexpr PackKernels kTable = {Rgb24ToBgrx, Rgb24ToBgrxAhead, BgrxToRgb24, BgrxWithTop};
};

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_PACK_SIMD_H_
