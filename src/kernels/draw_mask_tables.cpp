#include "kernels/draw_mask_tables.h"

#include <string.h>

#include "kernels/draw_factors.h"

namespace pixmorph::kernels {
namespace {

constexpr std::uint64_t kNoFactor = 0xFFFF000000000000;
constexpr std::uint64_t kThreeTimes = 0x0000000100010001;

// Rounded down.
std::uint32_t PerUnit(double weight) {
  constexpr double kUnits = static_cast<double>(std::int64_t{1} << MaskTables::kUnitBits);
  return static_cast<std::uint32_t>(weight * (kUnits / 255));
}

// The left neighbour's in the low half.
std::uint32_t Pair(std::uint32_t left, std::uint32_t right) { return right << 16 | left; }

}  // namespace

bool FillMaskTables(const double (&weights)[kDrawNeighbours], MaskTables* tables) {
  double rest = 1.0;
  for (const double weight : weights) {
    if (!(weight >= 0 && weight <= 1)) return false;
    rest -= weight;
  }
  if (rest < -1e-12) return false;
  // Two units for what rounding may take from the doubles' rest.
  tables->rest = TruncateInRange(rest * (1 << MaskTables::kRestBits)) - 2;
  constexpr DrawNeighbour kRows[2][2] = {{kUpperLeft, kUpperRight}, {kLowerLeft, kLowerRight}};
  constexpr std::uint32_t kLowMask = (1u << MaskTables::kLowBits) - 1;
  for (int row = 0; row < 2; ++row) {
    const std::uint32_t left = PerUnit(weights[kRows[row][0]]), right = PerUnit(weights[kRows[row][1]]);
    tables->high[row] = Pair(left >> MaskTables::kLowBits, right >> MaskTables::kLowBits);
    tables->low[row] = Pair(left & kLowMask, right & kLowMask);
  }
  for (int i = 0; i < kDrawNeighbours; ++i) {
    const int same = FirstEqual(weights, i);
    if (same < i) {
      memcpy(tables->factors[i], tables->factors[same], sizeof tables->factors[i]);
      continue;
    }
    for (int hidden = 0; hidden < 256; ++hidden) {
      const double weight = (255 - hidden) * weights[i] / 255;
      std::uint16_t factor = 0;
      const bool found = weight < 1 && FindFactor(weight, 0, &factor);
      tables->factors[i][hidden] = found ? kThreeTimes * factor : kNoFactor;
    }
  }
  return true;
}

}  // namespace pixmorph::kernels
