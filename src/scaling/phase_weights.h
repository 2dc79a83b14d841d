#ifndef PIXMORPH_SCALING_PHASE_WEIGHTS_H_
#define PIXMORPH_SCALING_PHASE_WEIGHTS_H_

#include <cstdint>

#include "scaling/filters.h"
#include "support/numeric.h"

namespace pixmorph {

// One axis of a filtered resize.
struct ResampleAxis {
  double scale;               // destination length / source length; below 1 the axis shrinks
  std::int32_t sourceLength;  // samples
  std::int32_t count;         // lists: destination length
  bool horizontal;            // the two directions give their lists different room

  // Half-width of the window in which taps are looked for, in source samples. [pure]
  double Radius(const Filter& filter) const { return scale < 1.0 ? filter.support / scale : filter.support; }

  // Room of one list, in taps. [pure]
  std::int64_t Capacity(const Filter& filter) const;
};

// Where an output sample looks for taps: around `centre`, samples first .. last, which may lie outside of the
// source. 32 bits hold every one that doesn't.
struct TapWindow {
  double centre;
  std::int32_t first, last;

  // Output sample i's. [pure]
  static TapWindow Of(const ResampleAxis& axis, double radius, std::int32_t i) {
    const double centre = (i + 0.5) / axis.scale;
    return {centre, TruncateToInt32(centre - radius), TruncateToInt32(centre + radius)};
  }
};

// Samples whose weights are formed together.
constexpr std::int32_t kWeightPiece = 32;

// Whether all numbers within `error` of x are the same as a float. [pure]
bool RoundsAlike(double x, double error);

// The weights of `count` <= kWeightPiece samples from `first` on of a window around `centre`, or estimates
// that as floats are the same.
void FormWeights(const Filter& filter, double scale, double centre, std::int32_t first, std::int32_t count,
                 bool estimated, double* weights);

// Remembers weights by the fraction of their window's centre, its phase: phases repeat with the ratio's
// period, at the source's ends, where windows are cut off, and along both axes when their scales are equal.
class PhaseWeights {
 public:
  // Before windows of an axis are asked for: forgets the weights of any other filter and scale.
  void Begin(const Filter& filter, double scale);

  // The estimated weights of the samples first .. last, which lie in the window. Null where they are not
  // remembered and there is no room for them.
  const double* Find(const TapWindow& window, std::int32_t first, std::int32_t last);

 private:
  static constexpr int kSlotBits = 7;
  static constexpr std::int32_t kRoom = 1152;

  struct Phase {
    double fraction;
    std::int32_t whole;  // part of the centre around which the window is the samples first .. last
    std::int32_t first, last;
    std::int32_t at;  // where its weights start, or -1
  };

  bool Remember(const TapWindow& window, double fraction, std::int32_t whole, Phase& phase);

  const Filter* filter_ = nullptr;
  double scale_ = 0.0;
  std::int32_t used_ = 0;
  Phase phases_[1 << kSlotBits];
  double weights_[kRoom];
};

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_PHASE_WEIGHTS_H_
