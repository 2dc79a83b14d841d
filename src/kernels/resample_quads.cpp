#include "kernels/resample_quads.h"

#include <string.h>

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kMostFractionBits = 22;
constexpr std::int32_t kLeastFractionBits = 18;
constexpr std::int32_t kLargestWeight = 0x7F7F7F;  // three signed digits
constexpr double kChannelMax = 255.0;

std::int32_t Nearest(double x) { return TruncateToInt32(x < 0.0 ? x - 0.5 : x + 0.5); }

// How well one block is met by integers of `unit` = 2^fractionBits.
struct Fit {
  bool usable = true;
  double middle = 0.0;  // of the error, in units: true value minus integer sum
  double half = 0.0;    // half the error's width
};

double Scaled(const AxisWeights& axis, const WeightBlock& block, std::int32_t tap, double unit) {
  return static_cast<double>(axis.weights[block.offset + tap]) / static_cast<double>(block.sum) * unit;
}

// Channels are 0 .. 255, so errors e of the single weights give a sum between 255 times the negative ones and
// 255 times the positive ones.
Fit FitOf(const AxisWeights& axis, const WeightBlock& block, double unit) {
  Fit fit;
  double above = 0.0, below = 0.0, total = 0.0;
  for (std::int32_t t = 0; t < block.count; ++t) {
    const double x = Scaled(axis, block, t, unit);
    const std::int32_t w = Nearest(x);
    if (w > kLargestWeight || w < -kLargestWeight) fit.usable = false;
    const double e = x - w;
    (e > 0.0 ? above : below) += e;
    total += w < 0 ? -static_cast<double>(w) : static_cast<double>(w);
  }
  // Room for the bias: less than 2 x unit.
  if (total * kChannelMax + 2.0 * unit >= 2147483647.0) fit.usable = false;
  fit.middle = (above + below) * kChannelMax / 2;
  fit.half = (above - below) * kChannelMax / 2;
  return fit;
}

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
    if (!ChooseUnit()) return false;
    ChooseBiases();
    sourceQuads_ = (axis_.sourceLength + 3) / 4;
    for (std::int32_t i = 0; i < axis_.count; ++i) widest_ = Max(widest_, QuadsOf(axis_.lists[i]));
    for (std::int32_t i = 0; i < axis_.count; ++i) Place(i);
    for (std::int32_t i = axis_.count; i % 4; ++i) lists_[i] = lists_[i - 1];
    packed_ = {axis_,
               lists_,
               digits_,
               fractionBits_,
               2u * static_cast<std::uint32_t>(error_) << (32 - fractionBits_),
               widest_};
    return true;
  }

 private:
  static std::int32_t Max(std::int32_t a, std::int32_t b) { return a > b ? a : b; }

  std::int32_t QuadsOf(const WeightList& list) const {
    return (list.first % 4 + axis_.blocks[list.block].count + 3) / 4;
  }

  // The finest unit with which no sum can overflow, and the error bound of the worst block.
  bool ChooseUnit() {
    for (fractionBits_ = kMostFractionBits; fractionBits_ >= kLeastFractionBits; --fractionBits_) {
      unit_ = static_cast<double>(1 << fractionBits_);
      bool usable = true;
      double half = 0.0;
      for (std::int32_t b = 0; b < axis_.blockCount && usable; ++b) {
        const Fit fit = FitOf(axis_, axis_.blocks[b], unit_);
        usable = fit.usable;
        if (fit.half > half) half = fit.half;
      }
      if (!usable) continue;
      // One unit more: half a unit for rounding the middle to an integer, the rest covers the rounding errors
      // of the plain double evaluation, count x 2^-52 x 255 x unit < 0.01 for the counts that pass the next
      // test.
      error_ = TruncateToInt32(half + 2.0);
      return 4.0 * error_ < unit_;
    }
    return false;
  }

  // With `middle` in it, a sum is off by less than `error_`; each bias moves that to one side of the truth.
  void ChooseBiases() {
    for (std::int32_t b = 0; b < axis_.blockCount; ++b) {
      const WeightBlock& block = axis_.blocks[b];
      const std::int32_t rounding = 1 << (fractionBits_ - 1);
      if (RoundedUp(block))
        biases_[b] = rounding + 2 * error_;
      else
        biases_[b] = rounding + Nearest(FitOf(axis_, block, unit_).middle) + error_ * ErrorsAbove(block);
    }
  }

  // Usually sums lie above the truth by 0 to 2 errors. Where ties are decided by a rule and are frequent,
  // they are kept clear of the threshold, 2 errors, on either side, so that they need no second look; what
  // comes next to a tie must not get there instead.
  std::int32_t ErrorsAbove(const WeightBlock& block) const {
    const TieRule ties = TiesOf(axis_, block);
    if ((ties.step - ties.spread) * unit_ <= 4.0 * error_) return 1;
    return ties.up ? 3 : -1;
  }

  // The weights of an average are rounded up: its sums are too large, by less than one unit a tap and level.
  bool RoundedUp(const WeightBlock& block) const {
    return IsAverage(axis_, block) &&
           kChannelMax * block.count + 2.0 * error_ < TiesOf(axis_, block).step * unit_;
  }

  std::int32_t Integer(const WeightBlock& block, std::int32_t tap) const {
    return Nearest(Scaled(axis_, block, tap, unit_));
  }

  void Place(std::int32_t i) {
    const WeightList& list = axis_.lists[i];
    const std::int32_t quads = uniform_ ? widest_ : QuadsOf(list);
    const std::int32_t most = sourceQuads_ - quads;
    const std::int32_t quad = list.first / 4 < most ? list.first / 4 : most;
    const std::int32_t shift = list.first - 4 * quad;
    lists_[i] = {quad, quads, used_, biases_[list.block]};
    std::int32_t* const known =
        shift < 4 ? placed_ + 4 * static_cast<std::int64_t>(list.block) + shift : nullptr;
    if (known && *known >= 0) {
      lists_[i].words = *known;
      return;
    }
    if (known) *known = used_;
    WriteDigits(axis_.blocks[list.block], shift, quads);
    used_ += 3 * quads;
  }

  void WriteDigits(const WeightBlock& block, std::int32_t shift, std::int32_t quads) {
    auto* const bytes = reinterpret_cast<signed char*>(digits_ + used_);
    memset(bytes, 0, 12 * static_cast<std::uint32_t>(quads));
    const bool roundedUp = RoundedUp(block);
    const std::int32_t up = ((1 << fractionBits_) + block.count - 1) / block.count;
    for (std::int32_t t = 0; t < block.count; ++t) {
      std::int32_t rest = roundedUp ? up : Integer(block, t);
      signed char* const at = bytes + (shift + t) / 4 * 12 + (shift + t) % 4;
      for (std::int32_t digit = 2; digit >= 0; --digit) {
        const auto low = static_cast<signed char>(rest & 0xFF);
        at[4 * digit] = low;
        rest = (rest - low) / 256;
      }
    }
  }

  const AxisWeights& axis_;
  const bool uniform_;
  QuadAxis& packed_;
  QuadList* lists_;
  std::int32_t* biases_;  // per block
  std::int32_t* placed_;  // per block and position of its first tap in a quad: its words, or -1
  std::int32_t* digits_;
  std::int32_t used_ = 0;
  std::int32_t sourceQuads_ = 0;
  std::int32_t widest_ = 0;
  std::int32_t fractionBits_ = 0;
  std::int32_t error_ = 0;  // units
  double unit_ = 0.0;
};

}  // namespace

std::int64_t QuadsBytes(const AxisWeights& axis) {
  std::int64_t quads = 1, widest = 1;
  for (std::int32_t i = 0; i < axis.count; ++i) {
    const std::int64_t own =
        (axis.lists[i].first % 4 + std::int64_t{axis.blocks[axis.lists[i].block].count} + 3) / 4;
    if (own > widest) widest = own;
  }
  quads = widest * axis.count;
  return ByteSize(quads)
      .Times(12)
      .Plus(ByteSize(axis.count).Plus(3).Times(sizeof(QuadList)).Bytes())
      .Plus(ByteSize(axis.blockCount).Times(20).Bytes())
      .Bytes();
}

bool PackQuads(const AxisWeights& axis, bool uniform, void* memory, QuadAxis& packed) {
  return Packer(axis, uniform, memory, packed).Pack();
}

}  // namespace pixmorph::kernels
