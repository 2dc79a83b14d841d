#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_GRADE_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_GRADE_H_

#include "kernels/resample_fixed_point.h"
#include "kernels/resample_words.h"

namespace pixmorph::kernels {

constexpr std::int32_t kLargestWord = 32767;

// Blocks next to each other, and the 16-bit numbers that suit them all.
struct BlockGrade {
  AxisWeights axis{};  // of which these are all blocks
  FixedPoint fixed{};
  std::int32_t lowBits = 0;
  std::int32_t near = 0;

  // Finds them for all blocks of `of`. False when there are none.
  bool Choose(const AxisWeights& of);

  // Whether block `block` of the axis that these blocks were taken from is one of them. [pure]
  bool Has(const AxisWeights& whole, std::int32_t block) const {
    const std::int64_t first = axis.blocks - whole.blocks;
    return block >= first && block < first + axis.blockCount;
  }

  // As the kernels read it. [pure]
  WordGrade Word() const;

  // What leads from the fraction of a first sum, which starts at `bias`, to the side of the whole number on
  // which the truth lies; ties that a rule decides are taken to their side. [pure]
  std::int32_t SecondBias(const WeightBlock& block, std::int32_t bias) const;

 private:
  bool FitThreshold();
  bool ChooseLowBits();
};

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_GRADE_H_
