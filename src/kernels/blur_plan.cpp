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
// (sum + 1) / box, by no more than 1 / box when (255 * box + 1) * error <= 2^n with error = 2^n - down * box:
// so it lies from sum / box to below (sum + 1) / box, and has the same whole part as sum / box.
// Only narrow sums with room for one more have use for that.
bool SetQuotient(BlurPlan* plan, std::int32_t shift) {
  const std::uint64_t power = 1ull << ((plan->narrow ? 16 : 32) + shift);
  const std::uint64_t box = static_cast<std::uint64_t>(plan->box);
  const std::uint64_t down = power / box;  // never exact: the box is odd and above 1
  const std::uint64_t largest = 255 * box;
  const bool fitsUp = largest * ((down + 1) * box - power) < power;
  const bool hasRoom = plan->narrow && largest + 1 < 65536;
  const bool fitsDown = hasRoom && (largest + 1) * (power - down * box) <= power;
  if (!fitsUp && !fitsDown) return false;
  plan->biased = !fitsUp;
  plan->factor = static_cast<std::uint32_t>(fitsUp ? down + 1 : down);
  plan->shift = shift;
  return true;
}

// The largest box whose 255-fold fits 16 bits: 257, which takes no bias.
constexpr std::int32_t kLargestNarrowBox = 257;

// Results beyond the size of a second-level cache are not read back from there anyway.
constexpr std::int64_t kStreamedPixels = 256 * 1024;

}  // namespace

BlurPlan PlanBlur(std::int32_t width, std::int32_t height, std::int32_t radius) {
  BlurPlan plan{};
  plan.width = width;
  plan.radius = radius;
  plan.box = 2 * radius + 1;
  // Beyond an edge all pixels are alike, so that looking further makes no difference. The vector more is for
  // rows that are taken from before their first pixel on, so that stores are aligned.
  plan.reach = radius < width + kPixelsPerVector ? radius : width + kPixelsPerVector;
  plan.padding = plan.reach + kPixelsPerVector;
  plan.streaming = static_cast<std::int64_t>(width) * height >= kStreamedPixels;
  plan.narrow = plan.box <= kLargestNarrowBox;
  // A shift up to the whole part of log2(box) keeps the factor below 2^16 or 2^32. There, one of the two
  // errors is at most box / 2 and fits a narrow quotient; a wide one has 510 * box < 2^32. No shift saves an
  // instruction.
  std::int32_t shift = 0;
  while (!SetQuotient(&plan, shift)) ++shift;
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
