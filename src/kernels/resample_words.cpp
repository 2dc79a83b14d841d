#include "kernels/resample_words.h"

#include <string.h>

#include "kernels/resample_word_grade.h"
#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

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

// Packs the blocks of one axis; holds what does not change while it works.
class Packer {
 public:
  Packer(const AxisWeights& axis, WordGrades share, void* memory, WordAxis& packed)
      : axis_(axis), byList_(share == WordGrades::kByList), packed_(packed) {
    lists_ = static_cast<WordList*>(memory);
    words_ = reinterpret_cast<std::int32_t*>(lists_ + axis.count);
    written_ = reinterpret_cast<WordGrade*>(words_ + MostWords(axis));
    placed_ = reinterpret_cast<std::int32_t*>(written_ + MostGrades(axis));
  }

  bool Pack() {
    if (!byList_ && !ChooseShared()) return false;
    memset(placed_, 0xFF, sizeof(std::int32_t) * 4 * static_cast<std::uint32_t>(axis_.blockCount));
    for (std::int32_t i = 0; i < axis_.count; ++i)
      if (!Place(i)) return false;
    packed_ = {axis_, lists_, words_, written_};
    return true;
  }

  // Two words a pair, by fours, in both grades, with the first tap at an even or an odd sample.
  static std::int64_t MostWords(const AxisWeights& axis) {
    std::int64_t taps = 0;
    for (std::int32_t b = 0; b < axis.blockCount; ++b) taps += std::int64_t{axis.blocks[b].count} + 8;
    return 4 * taps;
  }
  static std::int64_t MostGrades(const AxisWeights& axis) { return std::int64_t{axis.blockCount} + 1; }

 private:
  bool ChooseShared() {
    const AxisWeights inside = Inside(axis_);
    if (!grades_[0].Choose(axis_)) return false;
    grades_[1] = grades_[0];
    if (inside.blockCount < axis_.blockCount && !grades_[1].Choose(inside)) return false;
    for (std::int32_t n = 0; n < 2; ++n) written_[n] = grades_[n].Word();
    return true;
  }

  // The grade that a block has for itself.
  bool ChooseOwn(std::int32_t block) {
    AxisWeights alone = axis_;
    alone.blocks += block;
    alone.blockCount = 1;
    if (!grades_[0].Choose(alone)) return false;
    written_[block] = grades_[0].Word();
    return true;
  }

  // Four lists in a row are rounded together.
  std::int32_t GradeOf(std::int32_t i) const {
    if (byList_) return 0;
    const std::int32_t first = i / 4 * 4, end = first + 4 < axis_.count ? first + 4 : axis_.count;
    for (std::int32_t n = first; n < end; ++n)
      if (!grades_[1].Has(axis_, axis_.lists[n].block)) return 0;
    return 1;
  }

  bool Place(std::int32_t i) {
    const WeightList& list = axis_.lists[i];
    const WeightBlock& block = axis_.blocks[list.block];
    const std::int32_t shift = list.first % 2, pairs = (shift + block.count + 1) / 2, grade = GradeOf(i);
    std::int32_t& known = placed_[4 * static_cast<std::int64_t>(list.block) + 2 * grade + shift];
    if (known >= 0) {
      lists_[i] = lists_[known];
      lists_[i].pair = list.first / 2;
      return true;
    }
    known = i;
    if (byList_ && !ChooseOwn(list.block)) return false;
    const BlockGrade& chosen = grades_[grade];
    const std::int32_t bias = BiasOf(chosen.axis, block, chosen.fixed);
    lists_[i] = {
        list.first / 2, pairs, used_, bias, chosen.SecondBias(block, bias), byList_ ? list.block : grade};
    // Those behind the last pair become 0.
    const std::int32_t stored = SecondWords(pairs);
    for (std::int32_t p = 0; p < stored; ++p)
      WritePair(chosen, block, 2 * p - shift, words_ + used_ + p, stored);
    used_ += 2 * stored;
    return true;
  }

  // The taps `tap` and `tap + 1`, of which either may not be one of the block's.
  void WritePair(const BlockGrade& grade, const WeightBlock& block, std::int32_t tap, std::int32_t* word,
                 std::int32_t stored) const {
    std::int32_t high[2] = {0, 0}, low[2] = {0, 0};
    for (std::int32_t n = 0; n < 2; ++n) {
      if (tap + n < 0 || tap + n >= block.count) continue;
      const double exact = ScaledWeight(grade.axis, block, tap + n, grade.fixed.unit);
      high[n] = LimitedInteger(exact, kLargestWord);
      low[n] = NearestInteger((exact - high[n]) * (1 << grade.lowBits));
    }
    word[0] = Word(high[0], high[1]);
    word[stored] = Word(low[0], low[1]);
  }

  const AxisWeights& axis_;
  const bool byList_;
  WordAxis& packed_;
  WordList* lists_;
  std::int32_t* words_;
  WordGrade* written_;
  std::int32_t* placed_;  // per block, grade and parity of its first tap: the first list that has it, or -1
  std::int32_t used_ = 0;
  BlockGrade grades_[2];  // of lists of every kind, of those inside; the first also of one list's own
};

}  // namespace

std::int64_t WordsBytes(const AxisWeights& axis) {
  return ByteSize(Packer::MostWords(axis))
      .Times(4)
      .Plus(ByteSize(axis.count).Times(sizeof(WordList)).Bytes())
      .Plus(ByteSize(Packer::MostGrades(axis)).Times(sizeof(WordGrade)).Bytes())
      .Plus(ByteSize(axis.blockCount).Times(16).Bytes())
      .Bytes();
}

bool PackWords(const AxisWeights& axis, WordGrades share, void* memory, WordAxis& packed) {
  return Packer(axis, share, memory, packed).Pack();
}

}  // namespace pixmorph::kernels
