#ifndef PIXMORPH_SCALING_PHASE_WEIGHTS_H_
#define PIXMORPH_SCALING_PHASE_WEIGHTS_H_

#include <cstdint>

#include "scaling/filters.h"

namespace pixmorph {

// Where an output sample looks for taps: around `centre`, samples first .. last, which may lie outside of the
// source. 32 bits hold every one that doesn't.
struct TapWindow {
  double centre;
  std::int32_t first, last;
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
  static constexpr std::int32_t kRoom = 1152;  // weights; 9 KiB, which may well be on the stack

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
