#include "kernels/resample_quads.h"

#include <string.h>

#include "kernels/resample_fixed_point.h"
#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kMostFractionBits = 22;
constexpr std::int32_t kLeastFractionBits = 18;
constexpr std::int32_t kLargestWeight = 0x7F7F7F;  // three signed digits

// Packs the blocks of one axis; holds what does not change while it works.
class Packer {
 public:
  Packer(const AxisWeights& axis, bool uniform, void* memory, QuadAxis& packed)
      : axis_(axis), uniform_(uniform), packed_(packed), lists_(static_cast<QuadList*>(memory)) {
    const std::int32_t padded = (axis.count + 3) / 4 * 4;
    biases_ = reinterpret_cast<std::int32_t*>(lists_ + padded);
    placed_ = biases_ + axis.blockCount;
    digits_ = placed_ + 4 * static_cast<std::int64_t>(axis.blockCount);
    memset(placed_, 0xFF, sizeof(std::int32_t) * 4 * static_cast<std::uint32_t>(axis.blockCount));
  }

  bool Pack() {
    if (!ChooseFixedPoint(axis_, kMostFractionBits, kLeastFractionBits, kLargestWeight, fixed_)) return false;
    if (!RoundErrorUp(fixed_)) return false;
    ChooseBiases();
    sourceQuads_ = (axis_.sourceLength + 3) / 4;
    for (std::int32_t i = 0; i < axis_.count; ++i) widest_ = Max(widest_, QuadsOf(axis_.lists[i]));
    for (std::int32_t i = 0; i < axis_.count; ++i) Place(i);
    for (std::int32_t i = axis_.count; i % 4; ++i) lists_[i] = lists_[i - 1];
    for (std::int32_t i = 0; uniform_ && i < axis_.count; i += 4) ShareDigits(lists_ + i);
    const std::int32_t doubtMask = ((1 << fixed_.fractionBits) - 1) & -2 * fixed_.error;
    packed_ = {axis_, lists_, digits_, fixed_.fractionBits, doubtMask, widest_};
    return true;
  }

 private:
  static std::int32_t Max(std::int32_t a, std::int32_t b) { return a > b ? a : b; }

  std::int32_t QuadsOf(const WeightList& list) const {
    return (list.first % 4 + axis_.blocks[list.block].count + 3) / 4;
  }

  void ChooseBiases() {
    for (std::int32_t b = 0; b < axis_.blockCount; ++b) {
      const WeightBlock& block = axis_.blocks[b];
      biases_[b] = IsCertain(block) ? (1 << (fixed_.fractionBits - 1)) + 2 * fixed_.error
                                    : BiasOf(axis_, block, fixed_);
    }
  }

  // No sum of the block is ever in question.
  bool IsCertain(const WeightBlock& block) const { return RoundedUp(block) || IsExact(block); }

  // The weights of an average are rounded up: its sums are too large, by less than one unit a tap and level.
  bool RoundedUp(const WeightBlock& block) const {
    return block.average && 255.0 * block.count + 2.0 * fixed_.error < block.ties.step * fixed_.unit;
  }

  // Sums are exact, and ties are rounded up: taken to 2 errors they are clear of what is in question, however
  // large the error that other blocks make.
  bool IsExact(const WeightBlock& block) const {
    for (std::int32_t t = 0; t < block.count; ++t)
      if (ScaledWeight(axis_, block, t, fixed_.unit) != Integer(block, t)) return false;
    const TieRule& ties = block.ties;
    return ties.step != 0.0 && ties.spread == 0.0 && ties.up;
  }

  static void ShareDigits(QuadList* four) {
    std::int32_t most = 1;
    for (std::int32_t n = 0; n < 4; ++n) most = Max(most, four[n].digits);
    for (std::int32_t n = 0; n < 4; ++n) four[n].digits = most;
  }

  void Place(std::int32_t i) {
    const WeightList& list = axis_.lists[i];
    const std::int32_t quads = uniform_ ? widest_ : QuadsOf(list);
    const std::int32_t most = sourceQuads_ - quads;
    const std::int32_t quad = list.first / 4 < most ? list.first / 4 : most;
    const std::int32_t shift = list.first - 4 * quad;
    std::int32_t* const known =
        shift < 4 ? placed_ + 4 * static_cast<std::int64_t>(list.block) + shift : nullptr;
    if (known && *known >= 0) {
      lists_[i] = lists_[*known];
      lists_[i].quad = quad;
      return;
    }
    if (known) *known = i;
    const std::int32_t digits = WriteDigits(axis_.blocks[list.block], shift, quads);
    lists_[i] = {quad, quads, used_, biases_[list.block], digits};
    used_ += 3 * quads;
  }

  std::int32_t Integer(const WeightBlock& block, std::int32_t tap) const {
    return LimitedInteger(ScaledWeight(axis_, block, tap, fixed_.unit), kLargestWeight);
  }

  // 1 or 3, see `QuadList::digits`.
  std::int32_t WriteDigits(const WeightBlock& block, std::int32_t shift, std::int32_t quads) {
    auto* const bytes = reinterpret_cast<signed char*>(digits_ + used_);
    memset(bytes, 0, 12 * static_cast<std::uint32_t>(quads));
    const bool roundedUp = RoundedUp(block);
    std::int32_t digits = 1;
    const std::int32_t up = ((1 << fixed_.fractionBits) + block.count - 1) / block.count;
    for (std::int32_t t = 0; t < block.count; ++t) {
      std::int32_t rest = roundedUp ? up : Integer(block, t);
      signed char* const at = bytes + (shift + t) / 4 * 12 + (shift + t) % 4;
      for (std::int32_t digit = 2; digit >= 0; --digit) {
        const auto low = static_cast<signed char>(rest & 0xFF);
        at[4 * digit] = low;
        rest = (rest - low) / 256;
        if (low != 0 && digit > 0) digits = 3;
      }
    }
    return digits == 1 && IsCertain(block) ? 1 : 3;
  }

  const AxisWeights& axis_;
  const bool uniform_;
  QuadAxis& packed_;
  QuadList* lists_;
  std::int32_t* biases_;  // per block
  std::int32_t* placed_;  // per block and position of its first tap in a quad: a list, or -1
  std::int32_t* digits_;
  std::int32_t used_ = 0;
  std::int32_t sourceQuads_ = 0;
  std::int32_t widest_ = 0;
  FixedPoint fixed_{};
};

}  // namespace

std::int64_t QuadsBytes(const AxisWeights& axis) {
  // A list's first quad may begin with up to three samples that are not its own.
  return ByteSize((std::int64_t{LongestBlock(axis)} + 6) / 4)
      .Times(axis.count)
      .Times(12)
      .Plus(ByteSize(axis.count).Plus(3).Times(sizeof(QuadList)).Bytes())
      .Plus(ByteSize(axis.blockCount).Times(20).Bytes())
      .Bytes();
}

bool PackQuads(const AxisWeights& axis, bool uniform, void* memory, QuadAxis& packed) {
  return Packer(axis, uniform, memory, packed).Pack();
}

}  // namespace pixmorph::kernels
