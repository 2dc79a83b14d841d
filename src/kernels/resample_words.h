#ifndef PIXMORPH_KERNELS_RESAMPLE_WORDS_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORDS_H_

#include <cstdint>

#include "kernels/resample_weights.h"
#include "support/numeric.h"

// Weights as 16-bit fixed-point numbers, two taps to a 32-bit word, for instructions that multiply pairs of
// 16-bit numbers and add the products. Taps are grouped by twos counted from sample 0: pair p is the samples
// 2p and 2p + 1.
//
// One such word a pair leaves a few samples in a hundred unsure: those whose fraction is below `threshold`.
// They get a second look with what rounding took from the weights, again 16 bits a tap and finer by
// `lowBits`:
//   ((fraction << lowBits) + the second sum + secondBias) is below 0 where the whole part is one too large.
// Where that is nearer to 0 than `near`, once in a million times, the sample is computed as plain doubles.
namespace pixmorph::kernels {

// How far a list's second words lie behind its first. Both are stored by fours; words behind the last pair's
// are 0.
PIXMORPH_INLINE std::int32_t SecondWords(std::int32_t pairs) { return (pairs + 3) & ~3; }

struct WordList {
  std::int32_t pair;   // the first; the last may reach one sample behind the source, with weight 0
  std::int32_t pairs;  // 1 or more
  std::int32_t words;  // index into `words`: one a pair, then one a pair for the second sum
  std::int32_t bias;   // where the first sum starts
  std::int32_t secondBias;
  std::int32_t grade;  // index into `grades`
};

// How finely sums are resolved. Large weights take bits from the fraction: lists share a grade only where
// they are rounded together.
struct WordGrade {
  std::int32_t fractionBits;
  std::int32_t lowBits;
  std::int32_t threshold;  // of the fraction
  std::int32_t near;
  // The same threshold in 16 bits, or a little more: of the sum's bits `doubtMask` those that make a number
  // below `doubtBelow`, 32767 at most.
  std::int32_t doubtMask, doubtBelow;
};

struct WordAxis {
  AxisWeights exact;
  const WordList* lists;  // as many as `exact` has
  const std::int32_t* words;
  const WordGrade* grades;
};

// Which lists share a grade.
enum class WordGrades {
  // Lists 4n .. 4n + 3 do. There are two grades only: for those inside, and for those that a picture's edge
  // cuts off, whose weights are larger.
  kByFour,
  // Only equal ones do.
  kByList,
};

// Memory that `PackWords` needs, in bytes; negative when it has no size. [pure]
std::int64_t WordsBytes(const AxisWeights& axis);

// Packs an axis into `memory` (WordsBytes bytes, aligned to 4). False when the weights don't suit this form:
// far too many or far too large.
bool PackWords(const AxisWeights& axis, WordGrades share, void* memory, WordAxis& packed);

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORDS_H_
