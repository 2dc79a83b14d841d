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

constexpr Contribution kNothing = {0.0f, 0};

// A list as it is stored: one tap of weight 0 with sum 1 in the place of one that always gives 0.
struct Taps {
  const Contribution* entries;
  std::int32_t count;
  float sum;
  std::int32_t span;  // samples from the first tap to the last

  explicit Taps(const ContributionList& list)
      : entries(AlwaysZero(list) ? &kNothing : list.entries),
        count(entries == &kNothing ? 1 : list.count),
        sum(entries == &kNothing ? 1.0f : list.weightSum),
        span(entries[count - 1].pixel - entries[0].pixel + 1) {}

  bool Nothing() const { return entries == &kNothing; }
};

// Writes the list's weights without gaps.
void Spread(const Taps& list, float* weights) {
  const std::int32_t first = list.entries[0].pixel;
  if (list.span != list.count) memset(weights, 0, sizeof(float) * static_cast<std::uint32_t>(list.span));
  for (std::int32_t t = 0; t < list.count; ++t)
    weights[list.entries[t].pixel - first] = list.entries[t].weight;
}

std::uint32_t BitsOf(float x) {
  std::uint32_t bits;
  memcpy(&bits, &x, sizeof bits);
  return bits;
}

// Whether doubles hold every sum of the weights times numbers of 0 to 255: the sums are multiples of the last
// bit of the smallest weight, and below 2^53 of those.
bool SumsAreExact(const float* weights, std::int32_t count) {
  constexpr std::int32_t kFloatBits = 23, kDoubleBits = 53;
  std::uint32_t smallest = UINT32_MAX, largest = 0;
  for (std::int32_t t = 0; t < count; ++t) {
    const std::uint32_t bits = BitsOf(weights[t]) & INT32_MAX;
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

  // The number of a block that has the list's weights; the list's own becomes known as `number` when there is
  // none.
  std::int32_t Find(const WeightBlock* blocks, const float* weights, const Taps& list, std::int32_t number) {
    std::int32_t& slot = slots_[Hash(list) >> (32 - kSlotBits)];
    if (slot >= 0 && Same(blocks[slot], weights + blocks[slot].offset, list)) return slot;
    return slot = number;
  }

 private:
  static constexpr int kSlotBits = 9;

  static std::uint32_t Hash(const Taps& list) {
    std::uint32_t hash = BitsOf(list.sum) + static_cast<std::uint32_t>(list.count);
    hash = hash * 0x9E3779B1u ^ BitsOf(list.entries[0].weight);
    return (hash * 0x9E3779B1u ^ BitsOf(list.entries[list.count - 1].weight)) * 0x9E3779B1u;
  }

  static bool Same(const WeightBlock& block, const float* weights, const Taps& list) {
    if (block.count != list.span || BitsOf(block.sum) != BitsOf(list.sum)) return false;
    const Contribution* tap = list.entries;
    for (std::int32_t n = 0, pixel = tap->pixel; n < list.span; ++n, ++pixel) {
      const float weight = tap->pixel == pixel ? (tap++)->weight : 0.0f;
      if (BitsOf(weight) != BitsOf(weights[n])) return false;
    }
    return true;
  }

  std::int32_t slots_[1 << kSlotBits];
};

bool IsAverage(const float* weights, std::int32_t count, float sum) {
  for (std::int32_t t = 0; t < count; ++t)
    if (weights[t] != 1.0f) return false;
  return static_cast<double>(sum) == static_cast<double>(count);
}

constexpr std::int32_t kFewBlocks = 64;  // more of them repeat so seldom that their ties don't matter

TieRule TiesOf(const WeightBlock& block, const float* weights, bool closely) {
  if (block.average && block.count <= kLongestAverage) return {1.0 / (2.0 * block.count), 0.0, true};
  return FindTieRule(weights, block.count, block.sum, closely);
}

}  // namespace

std::int64_t WeightsBytes(const ContributionList* lists, std::int32_t count) {
  std::int64_t taps = 0;
  for (std::int32_t i = 0; i < count; ++i) taps += Taps(lists[i]).span;
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
    const Taps list(lists[i]);
    const std::int32_t number = known.Find(blocks, weights, list, blockCount);
    // A list that reads nothing may as well stand where its neighbour does.
    const std::int32_t elsewhere = i > 0 ? outLists[i - 1].first : 0;
    outLists[i] = {list.Nothing() ? elsewhere : list.entries[0].pixel, number};
    if (number != blockCount) continue;
    Spread(list, weights + used);
    const float* const own = weights + used;
    blocks[blockCount++] = {
        used, list.span, list.sum, SumsAreExact(own, list.span), IsAverage(own, list.span, list.sum), {}};
    used += list.span;
  }
  for (std::int32_t b = 0; b < blockCount; ++b)
    blocks[b].ties = TiesOf(blocks[b], weights + blocks[b].offset, blockCount <= kFewBlocks);
  return {outLists, blocks, weights, count, blockCount, sourceLength};
}

std::int32_t LongestBlock(const AxisWeights& axis) {
  std::int32_t longest = 0;
  for (std::int32_t b = 0; b < axis.blockCount; ++b)
    if (axis.blocks[b].count > longest) longest = axis.blocks[b].count;
  return longest;
}

}  // namespace pixmorph::kernels
