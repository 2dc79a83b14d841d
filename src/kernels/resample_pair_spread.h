#ifndef PIXMORPH_KERNELS_RESAMPLE_PAIR_SPREAD_H_
#define PIXMORPH_KERNELS_RESAMPLE_PAIR_SPREAD_H_

#include <cstring>

#include "kernels/resample_kernel.h"

// Rows whose output pixels copy a source pixel, or average two neighbours, for levels that can't permute
// pixels freely. Copy, average, next copy and so on are taken in order; each is stored as a whole vector of
// itself where its first output pixel is, and what follows overwrites what is too much.
namespace pixmorph::kernels {

namespace {

template <class W>
class PairSpread {
 public:
  static std::int64_t PlanBytes(const AxisWeights& row) {
    return ByteSize(StartCount(row)).Times(sizeof(std::int32_t)).Bytes();
  }

  // False when pixels don't come in order, or one is repeated more often than a vector has room for.
  static bool Plan(const PairAxis& axis, void* memory, FusedPlan& plan) {
    if (!axis.averages) return false;
    auto* const starts = static_cast<std::int32_t*>(memory);
    std::int32_t made = 0, start = 0;
    for (std::int32_t i = 0; i < axis.exact.count; ++i) {
      const std::int32_t entry = Entry(axis, axis.exact.lists[i]);
      if (entry < made - 1) return false;
      if (entry >= made) start = i;
      for (; made <= entry; ++made) starts[made] = kPixelBytes * i;
      if (i - start >= kPixels) return false;
    }
    for (; made < StartCount(axis.exact); ++made) starts[made] = kPixelBytes * axis.exact.count;
    plan.pairStarts = starts;
    return true;
  }

  // Writes kPixels behind the row, too.
  static void AlongRows(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t*,
                        std::uint8_t* slot) {
    const std::uint8_t *const row = rows[0], *const next = rows[1];
    const std::int32_t* starts = plan.pairStarts;
    const std::int32_t width = plan.rowPairs.exact.sourceLength;
    std::int32_t x = 0;
    for (; x + kPixels < width; x += kPixels, starts += 2 * kPixels) {
      const std::ptrdiff_t at = kPixelBytes * static_cast<std::ptrdiff_t>(x);
      // The same place of the row that comes next, while this one is worked on.
      if (x % 16 == 0) __builtin_prefetch(next + at, 0, 2);
      Spread(slot, starts, row + at);
    }
    std::uint8_t last[kPixelBytes * (kPixels + 1)] = {};
    std::memcpy(last, row + kPixelBytes * static_cast<std::ptrdiff_t>(x),
                static_cast<std::uint32_t>(kPixelBytes * (width - x)));
    Spread(slot, starts, last);
  }

 private:
  static constexpr std::int32_t kPixels = 4;  // a vector
  static constexpr std::int32_t kPixelBytes = 4;

  // Two for each source pixel: one for itself, one for its average with the next.
  static std::int32_t StartCount(const AxisWeights& row) {
    return (row.sourceLength + kPixels - 1) / kPixels * (2 * kPixels);
  }

  static std::int32_t Entry(const PairAxis& axis, const WeightList& list) {
    const PairBlock& block = axis.blocks[list.block];
    return 2 * list.first + block.heavy + block.light;
  }

  // From the kPixels source pixels at `from` and the one behind them.
  PIXMORPH_INLINE_MEMBER static void Spread(std::uint8_t* slot, const std::int32_t* starts,
                                            const std::uint8_t* from) {
    const W copies = W::LoadBytes(from);
    const W averages = W::AverageBytes(copies, W::LoadBytes(from + kPixelBytes));
    W::StoreBytes(slot + starts[0], W::template Everywhere<0>(copies));
    W::StoreBytes(slot + starts[1], W::template Everywhere<0>(averages));
    W::StoreBytes(slot + starts[2], W::template Everywhere<1>(copies));
    W::StoreBytes(slot + starts[3], W::template Everywhere<1>(averages));
    W::StoreBytes(slot + starts[4], W::template Everywhere<2>(copies));
    W::StoreBytes(slot + starts[5], W::template Everywhere<2>(averages));
    W::StoreBytes(slot + starts[6], W::template Everywhere<3>(copies));
    W::StoreBytes(slot + starts[7], W::template Everywhere<3>(averages));
  }
};

// For levels that can.
struct NoPairSpread {
  static std::int64_t PlanBytes(const AxisWeights&) { return 0; }
  static bool Plan(const PairAxis&, void*, FusedPlan&) { return false; }
  static constexpr decltype(FusedPlan::alongRows) AlongRows = nullptr;
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_PAIR_SPREAD_H_
