#ifndef PIXMORPH_KERNELS_DRAW_FACTORS_H_
#define PIXMORPH_KERNELS_DRAW_FACTORS_H_

#include <cstdint>

namespace pixmorph::kernels {

// A 16-bit factor for a weight of 0 up to but not 1: colour * factor >> (16 + shift) is the truncated product
// of the colour and the weight, for all 256 colours. False when there is none, which is rare: products that
// are whole numbers but for the weight's own rounding may need it on one side and on the other. [pure]
bool FindFactor(double weight, std::int32_t shift, std::uint16_t* factor);

// The first of weights 0 .. i that equals weight i: factors are looked for once only. [pure]
inline int FirstEqual(const double* weights, int i) {
  int first = 0;
  while (weights[first] != weights[i]) ++first;
  return first;
}

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_DRAW_FACTORS_H_
