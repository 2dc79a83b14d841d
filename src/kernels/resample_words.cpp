#include "kernels/resample_words.h"

#include <string.h>

#include "kernels/resample_fixed_point.h"
#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kLargestWord = 32767;
constexpr std::int32_t kMostNarrowBits = 20, kLeastNarrowBits = 10;  // of the fraction
constexpr std::int32_t kMostWideBits = 22, kLeastWideBits = 18;
constexpr std::int32_t kMostLowBits = 16;
constexpr std::int32_t kLeastLowBits = 8;
constexpr double kChannelMax = 255.0;
constexpr double kRoom = 1073741824.0;  // 2^30: for a second sum and everything that is added to it

// A pair of 16-bit numbers, the first in the low half.
std::int32_t Word(std::int32_t first, std::int32_t second) {
  const std::uint32_t low = static_cast<std::uint32_t>(first) & 0xFFFFu;
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(second) << 16 | low);
}

// The axis without the blocks that only lists at the picture's edges have. All of it where nothing lies
// inside.
AxisWeights Inside(const AxisWeights& axis) {
  std::int32_t first = 0, last = axis.count - 1;
  while (first < last && axis.lists[first].first == 0) ++first;
  while (last > first &&
         axis.lists[last].first + axis.blocks[axis.lists[last].block].count == axis.sourceLength)
    --last;
  std::int32_t begin = axis.lists[first].block, end = begin;
  for (std::int32_t i = first; i <= last; ++i) {
    const std::int32_t block = axis.lists[i].block;
    if (block < begin) begin = block;
    if (block > end) end = block;
  }
  AxisWeights inside = axis;
  inside.blocks += begin;
  inside.blockCount = end - begin + 1;
  return inside;
}

std::int32_t Longest(const AxisWeights& axis) {
  std::int32_t longest = 0;
  for (std::int32_t b = 0; b < axis.blockCount; ++b)
    if (axis.blocks[b].count > longest) longest = axis.blocks[b].count;
  return longest;
}

// The blocks of an axis or of its inside, and the integers that suit them all.
struct Grade {
  AxisWeights axis{};
  FixedPoint fixed{};
  std::int32_t lowBits = kWideLowBits;
  std::int32_t near = 0;

  bool ChooseNarrow(const AxisWeights& of) {
    axis = of;
    return ChooseFixedPoint(axis, kMostNarrowBits, kLeastNarrowBits, kLargestWord, fixed) && ChooseLowBits();
  }

  bool ChooseWide(const AxisWeights& of) {
    axis = of, lowBits = kWideLowBits, near = 0;
    return ChooseFixedPoint(axis, kMostWideBits, kLeastWideBits, kLargestWord << kWideLowBits, fixed);
  }

  bool Has(const AxisWeights& whole, std::int32_t block) const {
    const std::int64_t first = axis.blocks - whole.blocks;
    return block >= first && block < first + axis.blockCount;
  }

  WordGrade Word() const { return {fixed.fractionBits, lowBits, 2 * fixed.error, near}; }

  // From the fraction of a first sum to the side of the whole number on which the truth lies; ties that a
  // rule decides are taken to their side.
  std::int32_t SecondBias(const WeightBlock& block, std::int32_t bias) const {
    const double fine = fixed.unit * (1 << lowBits);
    const TieRule ties = TiesOf(axis, block);
    double aside = ties.step * fine / 2.0;
    if (aside > kRoom / 2.0) aside = kRoom / 2.0;
    if (aside - ties.spread * fine <= near + 1.0) aside = 0.0;
    const std::int32_t back = (1 << (fixed.fractionBits - 1)) - bias;
    return back * (1 << lowBits) + NearestInteger(ties.up ? aside : -aside);
  }

 private:
  // What rounding leaves of a weight is at most half a unit, and a bias differs from the rounding half by
  // less than 5 errors.
  bool ChooseLowBits() {
    const std::int32_t longest = Longest(axis);
    const double most = 8.0 * fixed.error + kChannelMax * longest / 2.0;
    for (lowBits = kMostLowBits; lowBits >= kLeastLowBits; --lowBits)
      if (most * (1 << lowBits) < kRoom) break;
    // Half a step of the second sum for each tap, a whole one where the largest number is just missed; and
    // what `ScaledWeight` and the plain doubles may be off.
    near = TruncateToInt32(kChannelMax * longest) + 2;
    return lowBits >= kLeastLowBits;
  }
};

// Packs the blocks of one axis; holds what does not change while it works.
class Packer {
 public:
  Packer(const AxisWeights& axis, void* memory, WordAxis& packed)
      : axis_(axis), packed_(packed), lists_(static_cast<WordList*>(memory)) {
    placed_ = reinterpret_cast<std::int32_t*>(lists_ + axis.count);
    words_ = placed_ + 4 * static_cast<std::int64_t>(axis.blockCount);
    memset(placed_, 0xFF, sizeof(std::int32_t) * 4 * static_cast<std::uint32_t>(axis.blockCount));
  }

  bool Pack(double unsureAPair) {
    wide_ = !ChooseNarrow(unsureAPair);
    if (wide_ && !grades_[0].ChooseWide(axis_)) return false;
    if (wide_) grades_[1] = grades_[0];
    for (std::int32_t i = 0; i < axis_.count; ++i) Place(i);
    packed_ = {axis_, lists_, words_, wide_, {grades_[0].Word(), grades_[1].Word()}};
    return true;
  }

 private:
  bool ChooseNarrow(double unsureAPair) {
    if (!grades_[0].ChooseNarrow(axis_)) return false;
    const AxisWeights inside = Inside(axis_);
    grades_[1] = grades_[0];
    if (inside.blockCount < axis_.blockCount && !grades_[1].ChooseNarrow(inside)) return false;
    return UnsureShare(grades_[1].axis, grades_[1].fixed) <= unsureAPair * (Longest(axis_) + 1) / 2;
  }

  // Four lists in a row are rounded together.
  std::int32_t GradeOf(std::int32_t i) const {
    const std::int32_t first = i / 4 * 4, end = first + 4 < axis_.count ? first + 4 : axis_.count;
    for (std::int32_t n = first; n < end; ++n)
      if (!grades_[1].Has(axis_, axis_.lists[n].block)) return 0;
    return 1;
  }

  void Place(std::int32_t i) {
    const WeightList& list = axis_.lists[i];
    const WeightBlock& block = axis_.blocks[list.block];
    const std::int32_t shift = list.first % 2, pairs = (shift + block.count + 1) / 2, grade = GradeOf(i);
    std::int32_t& known = placed_[4 * static_cast<std::int64_t>(list.block) + 2 * grade + shift];
    if (known >= 0) {
      lists_[i] = lists_[known];
      lists_[i].pair = list.first / 2;
      return;
    }
    known = i;
    const Grade& chosen = grades_[grade];
    const std::int32_t bias = BiasOf(chosen.axis, block, chosen.fixed);
    lists_[i] = {list.first / 2, pairs, used_, bias, wide_ ? 0 : chosen.SecondBias(block, bias), grade};
    for (std::int32_t p = 0; p < pairs; ++p)
      WritePair(chosen, block, 2 * p - shift, words_ + used_ + p, pairs);
    used_ += 2 * pairs;
  }

  // The taps `tap` and `tap + 1`, of which either may not be one of the block's.
  void WritePair(const Grade& grade, const WeightBlock& block, std::int32_t tap, std::int32_t* word,
                 std::int32_t pairs) const {
    std::int32_t high[2] = {0, 0}, low[2] = {0, 0};
    for (std::int32_t n = 0; n < 2; ++n) {
      if (tap + n < 0 || tap + n >= block.count) continue;
      const double exact = ScaledWeight(grade.axis, block, tap + n, grade.fixed.unit);
      (wide_ ? SplitWide : SplitNarrow)(exact, grade.lowBits, high[n], low[n]);
    }
    word[0] = Word(high[0], high[1]);
    word[pairs] = Word(low[0], low[1]);
  }

  static void SplitNarrow(double exact, std::int32_t lowBits, std::int32_t& high, std::int32_t& low) {
    high = NearestInteger(exact);
    low = NearestInteger((exact - high) * (1 << lowBits));
    if (low > kLargestWord) low = kLargestWord;
  }

  static void SplitWide(double exact, std::int32_t lowBits, std::int32_t& high, std::int32_t& low) {
    const std::int32_t whole = NearestInteger(exact);
    high = whole >> lowBits;
    low = whole - high * (1 << lowBits);
  }

  const AxisWeights& axis_;
  WordAxis& packed_;
  WordList* lists_;
  std::int32_t* placed_;  // per block, grade and parity of its first tap: the first list that has it, or -1
  std::int32_t* words_;
  bool wide_ = false;
  std::int32_t used_ = 0;
  Grade grades_[2];
};

}  // namespace

std::int64_t WordsBytes(const AxisWeights& axis) {
  std::int64_t taps = 0;
  for (std::int32_t b = 0; b < axis.blockCount; ++b) taps += std::int64_t{axis.blocks[b].count} + 2;
  // A block comes with its first tap at an even or an odd sample, and in both grades.
  return ByteSize(taps)
      .Times(16)
      .Plus(ByteSize(axis.count).Times(sizeof(WordList)).Bytes())
      .Plus(ByteSize(axis.blockCount).Times(16).Bytes())
      .Bytes();
}

bool PackWords(const AxisWeights& axis, double unsureAPair, void* memory, WordAxis& packed) {
  return Packer(axis, memory, packed).Pack(unsureAPair);
}

}  // namespace pixmorph::kernels
