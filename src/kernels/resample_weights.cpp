#include "kernels/resample_weights.h"

#include <string.h>

#include "support/numeric.h"

namespace pixmorph::kernels {

namespace {

// A quotient by this sum is never finite, so the samples don't matter. Also true of a list without taps.
bool AlwaysZero(const ContributionList& list) {
  const float sum = list.weightSum;
  return !list.entries || list.count == 0 || sum == 0.0f || sum - sum != 0.0f;
}

std::int32_t TapSpan(const ContributionList& list) {
  return AlwaysZero(list) ? 1 : list.entries[list.count - 1].pixel - list.entries[0].pixel + 1;
}

// Writes the list's weights without gaps; the number written.
std::int32_t Spread(const ContributionList& list, float* weights) {
  if (AlwaysZero(list)) {
    weights[0] = 0.0f;
    return 1;
  }
  const std::int32_t span = TapSpan(list), first = list.entries[0].pixel;
  if (span != list.count) memset(weights, 0, sizeof(float) * static_cast<std::uint32_t>(span));
  for (std::int32_t t = 0; t < list.count; ++t)
    weights[list.entries[t].pixel - first] = list.entries[t].weight;
  return span;
}

// Whether doubles hold every sum of the weights times numbers of 0 to 255: the sums are multiples of the last
// bit of the smallest weight, and below 2^53 of those.
bool SumsAreExact(const float* weights, std::int32_t count) {
  constexpr std::int32_t kFloatBits = 23, kDoubleBits = 53;
  std::uint32_t smallest = UINT32_MAX, largest = 0;
  for (std::int32_t t = 0; t < count; ++t) {
    std::uint32_t bits;
    memcpy(&bits, weights + t, sizeof bits);
    bits &= INT32_MAX;
    if (bits > largest) largest = bits;
    if (bits - 1 < smallest) smallest = bits - 1;  // weights of 0 don't count
  }
  if (largest == 0) return true;
  std::int32_t bits = static_cast<std::int32_t>(largest >> kFloatBits) + 1 -
                      static_cast<std::int32_t>((smallest + 1) >> kFloatBits) + kFloatBits;
  for (std::int64_t most = std::int64_t{count} * 255; most > 0; most /= 2) ++bits;
  return bits <= kDoubleBits;
}

// Finds a block stored before with the same weights. Weights repeat with the period of the resize ratio, so a
// few hundred remembered blocks find nearly all.
class KnownBlocks {
 public:
  KnownBlocks() { memset(slots_, 0xFF, sizeof slots_); }

  // The number of a block equal to `candidate`, which itself becomes known as `number` when there is none.
  std::int32_t Find(const WeightBlock* blocks, const float* weights, const WeightBlock& candidate,
                    std::int32_t number) {
    std::int32_t& slot = slots_[Hash(weights + candidate.offset, candidate.count) % kSlots];
    if (slot >= 0 && Same(blocks[slot], weights, candidate)) return slot;
    return slot = number;
  }

 private:
  static constexpr std::uint32_t kSlots = 512;

  static std::uint32_t Hash(const float* weights, std::int32_t count) {
    std::uint32_t hash = static_cast<std::uint32_t>(count);
    for (std::int32_t i = 0; i < count; ++i) {
      std::uint32_t bits;
      memcpy(&bits, weights + i, sizeof bits);
      hash = (hash ^ bits) * 0x9E3779B1u;
      hash ^= hash >> 15;
    }
    return hash;
  }

  static bool Same(const WeightBlock& a, const float* weights, const WeightBlock& b) {
    return a.count == b.count && memcmp(&a.sum, &b.sum, sizeof a.sum) == 0 &&
           memcmp(weights + a.offset, weights + b.offset,
                  sizeof(float) * static_cast<std::uint32_t>(a.count)) == 0;
  }

  std::int32_t slots_[kSlots];
};

bool PowerOfTwo(float x) {
  std::uint32_t bits;
  memcpy(&bits, &x, sizeof bits);
  return (bits & 0x7FFFFFu) == 0 && x > 0.0f;
}

constexpr std::int32_t kFinestStep = 1 << 22;  // as a divisor of 1

// With a sum that is a power of two and weights that are multiples of sum / kFinestStep, every partial sum of
// the plain evaluation is a small multiple of that, so nothing in it is ever rounded. 0: that is not so.
double ExactStep(const AxisWeights& axis, const WeightBlock& block) {
  if (!PowerOfTwo(block.sum)) return 0.0;
  std::uint32_t bits = kFinestStep / 2;
  for (std::int32_t t = 0; t < block.count; ++t) {
    const double x =
        static_cast<double>(axis.weights[block.offset + t]) / static_cast<double>(block.sum) * kFinestStep;
    const std::int32_t whole = TruncateToInt32(x);
    if (x != whole) return 0.0;
    bits |= static_cast<std::uint32_t>(whole);
  }
  return static_cast<double>(bits & (~bits + 1)) / kFinestStep;
}

constexpr std::int32_t kFewBlocks = 64;  // more of them repeat so seldom that their ties don't matter
constexpr std::int32_t kLargestDenominator = 512;

double Magnitude(double x) { return x < 0.0 ? -x : x; }

double Nearest(double x) { return TruncateToInt32(x < 0.0 ? x - 0.5 : x + 0.5); }

// The least d up to `most` of the convergents n / d of x that meets x but for a float's rounding; 0 for none.
std::int32_t Denominator(double x, std::int32_t most) {
  const double blur = (Magnitude(x) + 1.0) / 4194304.0;  // two roundings to float, and as much again
  double before = 0.0, d = 1.0, rest = x;
  while (d <= most) {
    if (Magnitude(x * d - Nearest(x * d)) <= d * blur) return TruncateToInt32(d);
    rest = rest - TruncateToInt32(rest);
    if (Magnitude(rest) < blur) return 0;
    rest = 1.0 / rest;
    const double next = Magnitude(TruncateToInt32(rest)) * d + before;
    before = d;
    d = next;
  }
  return 0;
}

// Weights that are float neighbours of fractions with a small common denominator M: w = (sum x n + p) / M
// with whole numbers n and small p. A channel value is then N / M + P / (M x sum), N and P being the n and p
// weighted with the samples, and the sign of P decides ties.
class NearFractions {
 public:
  NearFractions(const AxisWeights& axis, const WeightBlock& block)
      : weights_(axis.weights + block.offset), count_(block.count), sum_(static_cast<double>(block.sum)) {
    if (!(sum_ > 0.0) || !FindDenominator()) return;
    usable_ = sum_ * denominator_ <= 1024.0;
    for (std::int32_t t = 0; t < count_ && usable_; ++t) AddTap(static_cast<double>(weights_[t]));
  }

  TieRule Rule() const {
    // Partial sums that are multiples of 2^-40 below 2^12 are exact, so that a quotient beside a tie stays on
    // its side: it is 2^-33 / 1024 away from it at least, and doubles below 256 lie 2^-45 apart at most.
    if (!usable_ || total_ * 255.0 >= 4096.0 || (above_ > 0.0 && below_ > 0.0)) return {};
    const bool up = below_ == 0.0;
    if (!up && !sureDown_) return {};
    // Halves are met by even denominators only; steps count from 1/2.
    const double step = denominator_ % 2 == 0 ? 1.0 / denominator_ : 0.5 / denominator_;
    return {step, (above_ + below_) * 255.0 / (denominator_ * sum_), up};
  }

 private:
  bool FindDenominator() {
    for (std::int32_t t = 0; t < count_; ++t) {
      const double x = static_cast<double>(weights_[t]) / sum_ * denominator_;
      denominator_ *= Denominator(x, kLargestDenominator / denominator_);
      if (denominator_ == 0) return false;
    }
    return true;
  }

  void AddTap(double weight) {
    const double n = Nearest(weight / sum_ * denominator_);
    const double p = weight * denominator_ - sum_ * n;
    const double grains = weight * 1099511627776.0;  // 2^40
    if (grains != static_cast<double>(TruncateToInt64(grains))) usable_ = false;
    if (p != 0.0 && Magnitude(p) < 1.0 / 8589934592.0) usable_ = false;  // 2^-33
    if (n > 0.0 && p == 0.0) sureDown_ = false;
    (p > 0.0 ? above_ : below_) += Magnitude(p);
    total_ += Magnitude(weight);
  }

  const float* const weights_;
  const std::int32_t count_;
  const double sum_;
  std::int32_t denominator_ = 1;
  bool usable_ = false;
  bool sureDown_ = true;  // P is below 0 wherever N is above 0
  double above_ = 0.0, below_ = 0.0, total_ = 0.0;
};

}  // namespace

std::int64_t WeightsBytes(const ContributionList* lists, std::int32_t count) {
  std::int64_t taps = 0;
  for (std::int32_t i = 0; i < count; ++i) taps += TapSpan(lists[i]);
  return ByteSize(count)
      .Times(sizeof(WeightList) + sizeof(WeightBlock))
      .Plus(ByteSize(taps).Times(4).Bytes())
      .Bytes();
}

AxisWeights GatherWeights(const ContributionList* lists, std::int32_t count, std::int32_t sourceLength,
                          void* memory) {
  auto* const outLists = static_cast<WeightList*>(memory);
  auto* const blocks = reinterpret_cast<WeightBlock*>(outLists + count);
  auto* const weights = reinterpret_cast<float*>(blocks + count);
  KnownBlocks known;
  std::int32_t blockCount = 0;
  std::int32_t used = 0;
  for (std::int32_t i = 0; i < count; ++i) {
    const bool zero = AlwaysZero(lists[i]);
    const WeightBlock block = {used, Spread(lists[i], weights + used), zero ? 1.0f : lists[i].weightSum,
                               false};
    const std::int32_t number = known.Find(blocks, weights, block, blockCount);
    // A list that reads nothing may as well stand where its neighbour does.
    const std::int32_t elsewhere = i > 0 ? outLists[i - 1].first : 0;
    outLists[i] = {zero ? elsewhere : lists[i].entries[0].pixel, number};
    if (number != blockCount) continue;
    blocks[blockCount] = block;
    blocks[blockCount++].exactSums = SumsAreExact(weights + used, block.count);
    used += block.count;
  }
  return {outLists, blocks, weights, count, blockCount, sourceLength, blockCount <= kFewBlocks};
}

std::int32_t LongestBlock(const AxisWeights& axis) {
  std::int32_t longest = 0;
  for (std::int32_t b = 0; b < axis.blockCount; ++b)
    if (axis.blocks[b].count > longest) longest = axis.blocks[b].count;
  return longest;
}

bool IsAverage(const AxisWeights& axis, const WeightBlock& block) {
  for (std::int32_t t = 0; t < block.count; ++t)
    if (axis.weights[block.offset + t] != 1.0f) return false;
  return static_cast<double>(block.sum) == static_cast<double>(block.count);
}

TieRule TiesOf(const AxisWeights& axis, const WeightBlock& block) {
  if (block.count <= kLongestAverage && IsAverage(axis, block)) return {1.0 / (2.0 * block.count), 0.0, true};
  const double step = ExactStep(axis, block);
  if (step != 0.0) return {step, 0.0, true};
  return axis.fewBlocks ? NearFractions(axis, block).Rule() : TieRule{};
}

}  // namespace pixmorph::kernels
