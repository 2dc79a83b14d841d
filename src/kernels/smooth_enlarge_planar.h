#ifndef PIXMORPH_KERNELS_SMOOTH_ENLARGE_PLANAR_H_
#define PIXMORPH_KERNELS_SMOOTH_ENLARGE_PLANAR_H_

#include "kernels/smooth_enlarge_kernel.h"

// The smooth enlargement for levels that permute a vector of floats by indexes: a line holds one plane a
// channel, and a vector of new pixels gathers its neighbours from two loads of each plane. For inclusion by
// the files of those levels; `V` is their thin vector type.
//
// Values are 65536 times the byte, so that a truncated value is the byte above 16 bits of fraction. In float
// each of the two fused steps rounds a value below 2^24 by at most half a unit, and truncation takes less
// than one more: the result is within 2 of the double evaluation, which itself errs by far less than a unit.
// Where it lies within 4 of a multiple of 65536 the channel is evaluated in double; elsewhere both truncate
// to the same byte. Exact weights on both axes make integers below 2^24, which need neither test nor margin.
namespace pixmorph::kernels {
namespace {

constexpr float kHalf = 0.5f * kSmoothWeightScale;
constexpr float kMargin = 4.0f;  // added, so that the risky values become 0 .. 7 above a multiple
constexpr std::int32_t kRiskyIfZero = 0xFFF8;  // these bits of such a value are 0

template <class V>
void UnpackLine(float* line, const std::uint8_t* row, std::int32_t width) {
  const std::ptrdiff_t plane = SmoothPlaneFloats(width);
  const typename V::I byte = V::SetI(0xFF);
  for (std::int32_t x = 0; x < width; x += V::kLanes, row += V::kLanes * 4) {
    const std::int32_t left = width - x;
    const typename V::I pixels = left >= V::kLanes ? V::LoadI(row) : V::LoadSome(row, left);
    float* to = line + x;
    V::StoreF(to, V::ToFloat(V::And(pixels, byte)));
    V::StoreF(to + plane, V::ToFloat(V::And(V::template Right<8>(pixels), byte)));
    V::StoreF(to + plane * 2, V::ToFloat(V::And(V::template Right<16>(pixels), byte)));
    V::StoreF(to + plane * 3, V::ToFloat(V::template Right<24>(pixels)));
  }
  for (int channel = 0; channel < 4; ++channel)
    line[plane * channel + width] = line[plane * channel + width - 1];
}

template <class V>
void BlendLines(float* out, const float* upper, const float* lower, float weight0, float weight1,
                std::int32_t width) {
  const std::int32_t count = SmoothPlaneFloats(width) * 4;
  const typename V::F w0 = V::SetF(weight0), w1 = V::SetF(weight1);
  for (std::int32_t i = 0; i < count; i += V::kLanes) {
    const typename V::F above = V::Mul(V::LoadF(upper + i), w0);
    V::StoreF(out + i, V::Add(above, V::Mul(V::LoadF(lower + i), w1)));
  }
}

// What the four channels of a vector of new pixels share.
template <class V>
struct ColumnsAt {
  typename V::I place;  // source columns, counted from the first
  typename V::F weight0, weight1;
  typename V::F addend;
  typename V::I riskyIfZero;
};

// How much a line's values and the columns need watching.
enum class Watch { kNone, kInexactColumns, kAll };

template <class V, Watch kWatch>
PIXMORPH_INLINE ColumnsAt<V> LoadColumns(const SmoothColumns& columns, std::int32_t x) {
  ColumnsAt<V> at;
  at.place = V::Sub(V::LoadI(columns.index + x), V::SetI(columns.index[x]));
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
  const typename V::F near = V::Permute(at.place, V::LoadF(plane));
  const typename V::F far = V::Permute(at.place, V::LoadF(plane + 1));
  return V::Truncate(V::Fma(far, at.weight1, V::Fma(near, at.weight0, at.addend)));
}

// One channel of a vector of new pixels in double.
template <class V>
__attribute__((noinline)) typename V::I ExactValues(const float* plane, const SmoothColumns& columns,
                                                    std::int32_t x) {
  const ColumnsAt<V> at = LoadColumns<V, Watch::kNone>(columns, x);
  const typename V::F near = V::Permute(at.place, V::LoadF(plane));
  const typename V::F far = V::Permute(at.place, V::LoadF(plane + 1));
  return V::TruncateInDouble(near, at.weight0, far, at.weight1, double{kHalf});
}

template <class V, Watch kWatch>
PIXMORPH_INLINE typename V::I NewPixels(const float* line, std::ptrdiff_t plane, const SmoothColumns& columns,
                                        std::int32_t x) {
  const ColumnsAt<V> at = LoadColumns<V, kWatch>(columns, x);
  const float* from = line + columns.index[x];
  typename V::I blue = ChannelValues<V>(from, at);
  typename V::I green = ChannelValues<V>(from + plane, at);
  typename V::I red = ChannelValues<V>(from + plane * 2, at);
  typename V::I top = ChannelValues<V>(from + plane * 3, at);
  if (kWatch != Watch::kNone && V::AnyZero(at.riskyIfZero, blue, green, red, top)) {
    blue = ExactValues<V>(from, columns, x);
    green = ExactValues<V>(from + plane, columns, x);
    red = ExactValues<V>(from + plane * 2, columns, x);
    top = ExactValues<V>(from + plane * 3, columns, x);
  }
  return V::Weave(blue, green, red, top);
}

template <class V, Watch kWatch>
PIXMORPH_INLINE void InterpolateLineOf(std::uint8_t* out, const float* line, std::ptrdiff_t plane,
                                       const SmoothColumns& columns) {
  std::int32_t x = 0;
  for (; x + V::kLanes <= columns.count; x += V::kLanes)
    V::StoreI(out + x * 4, NewPixels<V, kWatch>(line, plane, columns, x));
  if (x < columns.count)
    V::StoreSome(out + x * 4, NewPixels<V, kWatch>(line, plane, columns, x), columns.count - x);
}

template <class V>
void InterpolateLine(std::uint8_t* out, const float* line, const SmoothColumns& columns, bool exactLine) {
  const std::ptrdiff_t plane = SmoothPlaneFloats(columns.sourceWidth);
  if (!exactLine) return InterpolateLineOf<V, Watch::kAll>(out, line, plane, columns);
  if (!columns.allExact) return InterpolateLineOf<V, Watch::kInexactColumns>(out, line, plane, columns);
  InterpolateLineOf<V, Watch::kNone>(out, line, plane, columns);
}

}  // namespace
}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_SMOOTH_ENLARGE_PLANAR_H_
