#include <string.h>

#include "kernels/blur_kernel.h"

namespace pixmorph::kernels {
namespace {

// The widest vector's pixels: rows and sums are rounded up to whole vectors, so that kernels need no tails
// there.
constexpr std::int32_t kPixelsPerVector = 16;

std::int32_t RoundUp(std::int32_t pixels) { return (pixels + kPixelsPerVector - 1) & -kPixelsPerVector; }

// With up = 2^n / box rounded up, sum * up / 2^n exceeds sum / box by sum * error / (box * 2^n), where error
// = up * box - 2^n. That stays below 1 / box, and so below the next integer, for every sum up to 255 * box
// when 255 * box * error < 2^n. With down = 2^n / box rounded down, (sum + 1) * down / 2^n falls short of
// (sum + 1) / box, by no more than 1 / box when (largest + 1) * error <= 2^n with error = 2^n - down * box:
// so it lies from sum / box to below (sum + 1) / box, and has the same whole part as sum / box. Only narrow
// sums with room for one more use that.
struct Factor {
  std::uint32_t factor;
  std::int32_t shift;
  bool biased;
};

bool FindFactor(std::int32_t boxPixels, std::int32_t bits, std::uint64_t largest, std::int32_t shift,
                Factor* found) {
  const std::uint64_t power = 1ull << (bits + shift), box = static_cast<std::uint64_t>(boxPixels);
  const std::uint64_t down = power / box;  // never exact: the box is odd and above 1
  const bool fitsUp = largest * ((down + 1) * box - power) < power;
  const bool hasRoom = bits == 16 && largest + 1 < 65536;
  const bool fitsDown = hasRoom && (largest + 1) * (power - down * box) <= power;
  *found = {static_cast<std::uint32_t>(fitsUp ? down + 1 : down), shift, !fitsUp};
  return fitsUp || fitsDown;
}

// For sums up to `largest`, with the smallest shift: none saves an instruction. A shift up to the whole part
// of log2(box) keeps the factor within `bits`. There, one of the two errors is at most box / 2, and 2^n above
// 2^(bits - 1) * box: enough for 16-bit sums; and 510 * box < 2^32 is for 32-bit ones.
Factor SmallestFactor(std::int32_t box, std::int32_t bits, std::uint64_t largest) {
  Factor found{};
  for (std::int32_t shift = 0; !FindFactor(box, bits, largest, shift, &found);) ++shift;
  return found;
}

// The smallest float that is not below 1 / box: 1 / box * (1 + e) with 0 <= e < 2^-23. For the sum k * box, k
// up to 255, the product is then k or more, and so is the rounded product. For k * box - 1, the last sum that
// must stay below k, the product is less than k - 1 / box + k * e; rounding reaches k only from k - 2^-17 on
// (floats below 256 are 2^-16 apart), which 1 / box > 255 * 2^-23 + 2^-17 rules out: for a box below 26214.
// Sums are exact in a float: 255 * 26213 < 2^24. A factor of 65536 changes none of this.
float InverseFromAbove(std::int32_t box) {
  const float nearest = 1.0f / static_cast<float>(box);
  // Exact: 24 bits times 15.
  if (static_cast<double>(nearest) * box >= 1.0) return nearest;
  std::uint32_t bits;
  memcpy(&bits, &nearest, sizeof bits);
  ++bits;
  float above;
  memcpy(&above, &bits, sizeof above);
  return above;
}

// The largest box whose 255-fold fits 16 bits: 257, which takes no bias.
constexpr std::int32_t kLargestNarrowBox = 257;
constexpr std::int32_t kLargestWideBox = 26213;
constexpr std::int32_t kVectorChange = kPixelsPerVector * 255;

// Results beyond the size of a second-level cache are not read back from there anyway.
constexpr std::int64_t kStreamedPixels = 256 * 1024;

void SetQuotient(BlurPlan* plan) {
  plan->range = plan->box <= kLargestNarrowBox ? BlurRange::kNarrow
                : plan->box <= kLargestWideBox ? BlurRange::kWide
                                               : BlurRange::kHuge;
  plan->inverse = InverseFromAbove(plan->box);
  const std::uint64_t box = static_cast<std::uint64_t>(plan->box);
  Factor found;
  if (plan->range == BlurRange::kWide) {
    // Along a row, what is left over (below box) and what a vector adds or takes away (up to kVectorChange),
    // lifted by whole boxes to be never negative, stays below 2 * box + 2 * kVectorChange < 2^16.
    plan->lift = (kVectorChange + plan->box - 1) / plan->box;
    found = SmallestFactor(plan->box, 16, 2 * box + 2 * kVectorChange);
  } else {
    found = SmallestFactor(plan->box, plan->range == BlurRange::kNarrow ? 16 : 32, 255 * box);
  }
  plan->factor = found.factor;
  plan->shift = found.shift;
  plan->biased = found.biased;
}

}  // namespace

BlurPlan PlanBlur(std::int32_t width, std::int32_t height, std::int32_t radius, std::uint32_t top) {
  BlurPlan plan{};
  plan.width = width;
  plan.radius = radius;
  plan.box = 2 * radius + 1;
  plan.top = top;
  // Beyond an edge all pixels are alike, so that looking further makes no difference. The vector more is for
  // rows that are taken from before their first pixel on, so that stores are aligned.
  plan.reach = radius < width + kPixelsPerVector ? radius : width + kPixelsPerVector;
  plan.padding = plan.reach + kPixelsPerVector;
  plan.streaming = static_cast<std::int64_t>(width) * height >= kStreamedPixels;
  SetQuotient(&plan);
  return plan;
}

std::int32_t BlurRowStart(const BlurPlan& plan) { return RoundUp(plan.padding); }

std::int32_t BlurRowPixels(const BlurPlan& plan) {
  // One vector more: reads go from the row's last vector to `padding` pixels on.
  return BlurRowStart(plan) + RoundUp(plan.width) + RoundUp(plan.padding) + kPixelsPerVector;
}

std::int64_t BlurSumBytes(const BlurPlan& plan) {
  return ByteSize(RoundUp(plan.width)).Times(4 * sizeof(std::int32_t)).Bytes();
}

}  // namespace pixmorph::kernels
