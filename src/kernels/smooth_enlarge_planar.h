#ifndef PIXMORPH_KERNELS_SMOOTH_ENLARGE_PLANAR_H_
#define PIXMORPH_KERNELS_SMOOTH_ENLARGE_PLANAR_H_

#include "kernels/smooth_enlarge_kernel.h"

// The smooth enlargement. A line holds one plane a channel, from each of which a vector of new pixels gathers
// its neighbours. For inclusion by the files of the levels; `V` is their thin vector type.
//
// Values are 65536 times the byte, so that a truncated value is the byte above 16 bits of fraction. In float
// each of two fused steps, or each of four others, rounds a value below 2^24 by at most half a unit, and
// truncation takes less than one more: the result is within 3 of the double evaluation, which itself errs by
// far less than a unit. Where it lies within 4 of a multiple of 65536 the channel is evaluated in double;
// elsewhere both truncate to the same byte. Exact weights on both axes make integers below 2^24, which need
// neither test nor margin.
namespace pixmorph::kernels {
namespace {

constexpr float kHalf = 0.5f * kSmoothWeightScale;
constexpr float kMargin = 4.0f;  // added, so that the risky values become 0 .. 7 above a multiple
constexpr std::int32_t kRiskyIfZero = 0xFFF8;  // these bits of such a value are 0

// True when the pixels from `x` on have the top byte of the first.
PIXMORPH_INLINE bool SameTops(const std::uint8_t* row, std::int32_t x, std::int32_t width) {
  for (; x < width; ++x)
    if (row[x * 4 + 3] != row[3]) return false;
  return true;
}

template <class V>
PIXMORPH_INLINE void UnpackPixels(float* to, std::ptrdiff_t plane, typename V::I pixels) {
  const typename V::I byte = V::SetI(0xFF);
  V::StoreF(to, V::ToFloat(V::And(pixels, byte)));
  V::StoreF(to + plane, V::ToFloat(V::And(V::template Right<8>(pixels), byte)));
  V::StoreF(to + plane * 2, V::ToFloat(V::And(V::template Right<16>(pixels), byte)));
  V::StoreF(to + plane * 3, V::ToFloat(V::template Right<24>(pixels)));
}

template <class V>
std::int32_t UnpackLine(float* line, const std::uint8_t* row, std::int32_t width) {
  const std::ptrdiff_t plane = SmoothPlaneFloats(width);
  const typename V::I firstTop = V::SetI(static_cast<std::int32_t>(std::uint32_t{row[3]} << 24));
  typename V::I differences = V::SetI(0);
  std::int32_t x = 0;
  for (; x + V::kLanes <= width; x += V::kLanes) {
    const typename V::I pixels = V::LoadI(row + x * 4);
    differences = V::Or(differences, V::Xor(pixels, firstTop));
    UnpackPixels<V>(line + x, plane, pixels);
  }
  if (x < width) UnpackPixels<V>(line + x, plane, V::LoadSome(row + x * 4, width - x));
  for (int channel = 0; channel < 4; ++channel)
    line[plane * channel + width] = line[plane * channel + width - 1];
  const bool alike = !V::AnySet(V::template Right<24>(differences)) && SameTops(row, x, width);
  return alike ? row[3] : -1;
}

template <class V>
void BlendLines(float* out, const float* upper, const float* lower, float weight0, float weight1,
                std::int32_t width, bool withTop) {
  const std::ptrdiff_t count = static_cast<std::ptrdiff_t>(SmoothPlaneFloats(width)) * (withTop ? 4 : 3);
  const typename V::F w0 = V::SetF(weight0), w1 = V::SetF(weight1);
  for (std::ptrdiff_t i = 0; i < count; i += V::kLanes) {
    const typename V::F above = V::Mul(V::LoadF(upper + i), w0);
    V::StoreF(out + i, V::Add(above, V::Mul(V::LoadF(lower + i), w1)));
  }
}

// What the four channels of a vector of new pixels share.
template <class V>
struct ColumnsAt {
  typename V::Places places;  // source columns
  typename V::F weight0, weight1;
  typename V::F addend;
  typename V::I riskyIfZero;
};

// How much a line's values and the columns need watching.
enum class Watch { kNone, kInexactColumns, kAll };

template <class V, Watch kWatch>
PIXMORPH_INLINE ColumnsAt<V> LoadColumns(const SmoothColumns& columns, std::int32_t x) {
  ColumnsAt<V> at;
  at.places = V::PlacesAt(columns.index + x);
  at.weight0 = V::LoadF(columns.weight0 + x);
  at.weight1 = V::LoadF(columns.weight1 + x);
  at.addend = V::SetF(kWatch == Watch::kNone ? kHalf : kHalf + kMargin);
  at.riskyIfZero = V::SetI(kRiskyIfZero);
  if (kWatch == Watch::kInexactColumns) {
    // Values are never below half a byte, so that with all bits in the test none counts as risky.
    const typename V::I exact = V::LoadI(columns.exactMask + x);
    at.riskyIfZero = V::Or(at.riskyIfZero, exact);
    at.addend = V::Select(exact, V::SetF(kHalf), at.addend);
  }
  return at;
}

template <class V>
PIXMORPH_INLINE typename V::I ChannelValues(const float* plane, const ColumnsAt<V>& at) {
  typename V::F near, far;
  V::Neighbours(plane, at.places, &near, &far);
  return V::Truncate(V::MulAdd(far, at.weight1, V::MulAdd(near, at.weight0, at.addend)));
}

// One channel of a vector of new pixels in double.
template <class V>
__attribute__((noinline)) typename V::I ExactValues(const float* plane, const SmoothColumns& columns,
                                                    std::int32_t x) {
  const ColumnsAt<V> at = LoadColumns<V, Watch::kNone>(columns, x);
  typename V::F near, far;
  V::Neighbours(plane, at.places, &near, &far);
  return V::TruncateInDouble(near, at.weight0, far, at.weight1, double{kHalf});
}

// A line as the loops see it.
template <class V>
struct Planes {
  const float* values;
  std::ptrdiff_t plane;  // floats from one channel to the next
  typename V::I top;     // what a channel that is not computed amounts to
};

// kTop: false where the top byte is the same everywhere.
template <class V, Watch kWatch, bool kTop>
PIXMORPH_INLINE typename V::I NewPixels(const Planes<V>& planes, const SmoothColumns& columns,
                                        std::int32_t x) {
  const ColumnsAt<V> at = LoadColumns<V, kWatch>(columns, x);
  const float* from = planes.values;
  typename V::I blue = ChannelValues<V>(from, at);
  typename V::I green = ChannelValues<V>(from + planes.plane, at);
  typename V::I red = ChannelValues<V>(from + planes.plane * 2, at);
  typename V::I top = kTop ? ChannelValues<V>(from + planes.plane * 3, at) : planes.top;
  if (kWatch != Watch::kNone && V::AnyZero(at.riskyIfZero, blue, green, red, kTop ? top : red)) {
    blue = ExactValues<V>(from, columns, x);
    green = ExactValues<V>(from + planes.plane, columns, x);
    red = ExactValues<V>(from + planes.plane * 2, columns, x);
    if (kTop) top = ExactValues<V>(from + planes.plane * 3, columns, x);
  }
  return V::Weave(blue, green, red, top);
}

template <class V, Watch kWatch, bool kTop>
PIXMORPH_INLINE void InterpolateLineOf(std::uint8_t* out, const Planes<V>& planes,
                                       const SmoothColumns& columns) {
  std::int32_t x = 0;
  for (; x + V::kLanes <= columns.count; x += V::kLanes)
    V::StoreI(out + x * 4, NewPixels<V, kWatch, kTop>(planes, columns, x));
  if (x < columns.count)
    V::StoreSome(out + x * 4, NewPixels<V, kWatch, kTop>(planes, columns, x), columns.count - x);
}

template <class V, Watch kWatch>
PIXMORPH_INLINE void InterpolateLineOf(std::uint8_t* out, const SmoothLine& line,
                                       const SmoothColumns& columns) {
  const Planes<V> planes = {line.values, SmoothPlaneFloats(columns.sourceWidth), V::SetI(line.top * 65536)};
  if (line.top < 0) {
    InterpolateLineOf<V, kWatch, true>(out, planes, columns);
  } else {
    InterpolateLineOf<V, kWatch, false>(out, planes, columns);
  }
}

template <class V>
void InterpolateLine(std::uint8_t* out, const SmoothLine& line, const SmoothColumns& columns) {
  if (columns.clear || (line.exact && columns.allExact))
    return InterpolateLineOf<V, Watch::kNone>(out, line, columns);
  if (line.exact) return InterpolateLineOf<V, Watch::kInexactColumns>(out, line, columns);
  InterpolateLineOf<V, Watch::kAll>(out, line, columns);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_SMOOTH_ENLARGE_PLANAR_H_
