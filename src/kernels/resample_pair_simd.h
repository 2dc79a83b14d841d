#ifndef PIXMORPH_KERNELS_RESAMPLE_PAIR_SIMD_H_
#define PIXMORPH_KERNELS_RESAMPLE_PAIR_SIMD_H_

#include <cstring>

#include "kernels/resample_kernel.h"

// Both passes for lists of one or two taps, over a vector type W of 16-bit lanes. Slots hold one intermediate
// row of 32-bit words each.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kPairPadding = 16;  // rows are padded to a multiple of this many pixels

// What the lanes of one vector are multiplied with.
template <class W>
struct PairFactors {
  W multiplier, tau, kappa, offset;

  // The same for all lanes.
  PIXMORPH_INLINE_MEMBER static PairFactors Of(const PairBlock& block) {
    return {W::Set(block.multiplier), W::Set(block.tau), W::Set(block.kappa), W::Set(block.offset)};
  }
  // Lane by lane: four vectors in a row.
  PIXMORPH_INLINE_MEMBER static PairFactors At(const std::int16_t* lanes) {
    return {W::Load(lanes), W::Load(lanes + W::kLanes), W::Load(lanes + 2 * W::kLanes),
            W::Load(lanes + 3 * W::kLanes)};
  }

  // Channels from the heavier and the lighter samples.
  PIXMORPH_INLINE_MEMBER W Blend(W a, W b) const {
    const W d = W::Subtract(b, a);
    const W zone = W::Set(kPairZone);
    // The low half of the product is offset by 2^15: from here on its sign says whether to round up.
    const W low = W::Xor(W::MultiplyLow(d, multiplier), W::Set(INT16_MIN));
    const W rule = W::Add(W::Add(W::MultiplyLow(a, tau), W::MultiplyLow(d, kappa)), offset);
    const W decided = W::AddSaturated(low, W::Xor(W::Signs(rule), zone));
    const W up = W::Add(W::Signs(decided), W::Set(1));
    return W::Add(W::Add(a, W::MultiplyHigh(d, multiplier)), up);
  }
};

template <class W>
class PairPasses {
 public:
  static std::int64_t PlanBytes(const AxisWeights& row, const AxisWeights& column) {
    const std::int64_t padded = Padded(row.count);
    return ByteSize(PairsBytes(row))
        .Plus(PairsBytes(column))
        .Plus(128)
        .Plus(ByteSize(padded).Times(3 * sizeof(std::int32_t) + 16 * sizeof(std::int16_t)).Bytes())
        .Bytes();
  }

  static bool Plan(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
    const std::int32_t padded = Padded(row.count);
    auto* const lanes = static_cast<std::int16_t*>(memory);
    auto* const sources = reinterpret_cast<std::int32_t*>(lanes + 16 * static_cast<std::ptrdiff_t>(padded));
    auto* const blocks = reinterpret_cast<std::uint8_t*>(sources + 3 * static_cast<std::ptrdiff_t>(padded));
    if (!PackPairs(row, blocks, plan.rowPairs)) return false;
    if (!PackPairs(column, blocks + (PairsBytes(row) + 3) / 4 * 4, plan.columnPairs)) return false;
    for (std::int32_t i = 0; i < padded; ++i) PlanLanes(plan.rowPairs, i, lanes);
    for (std::int32_t i = 0; i < padded; i += kPixels)
      if (!PlanSources(plan.rowPairs, i, sources + i / kPixels * kGroup)) return false;
    plan.pairLanes = lanes;
    plan.pairSources = sources;
    plan.alongRows = AlongRows;
    plan.alongColumns = AlongColumns;
    plan.batchRows = 1;
    plan.slotBytes = 4 * std::int64_t{padded};
    plan.scratchBytes = 0;
    return true;
  }

 private:
  static constexpr std::int32_t kPixels = 2 * W::kLanes / 4;  // that two vectors of lanes hold
  static constexpr std::int32_t kGroup = 2 * kPixels + 1;     // numbers of `pairSources` for as many

  static std::int32_t Padded(std::int32_t count) {
    return (count + kPairPadding - 1) / kPairPadding * kPairPadding;
  }

  static const WeightList& ListOf(const PairAxis& axis, std::int32_t i) {
    return axis.exact.lists[i < axis.exact.count ? i : axis.exact.count - 1];
  }

  // For output pixels i .. i + kPixels - 1 the columns of the heavier samples, those of the lighter ones,
  // both counted from the column that follows. False when they lie too far apart.
  static bool PlanSources(const PairAxis& axis, std::int32_t i, std::int32_t* sources) {
    std::int32_t base = INT32_MAX, last = 0;
    for (std::int32_t n = 0; n < kPixels; ++n) {
      const WeightList& list = ListOf(axis, i + n);
      sources[n] = list.first + axis.blocks[list.block].heavy;
      sources[kPixels + n] = list.first + axis.blocks[list.block].light;
    }
    for (std::int32_t n = 0; n < 2 * kPixels; ++n) {
      if (sources[n] < base) base = sources[n];
      if (sources[n] > last) last = sources[n];
    }
    for (std::int32_t n = 0; n < 2 * kPixels; ++n) sources[n] -= base;
    sources[2 * kPixels] = base;
    return last - base < W::kReach;
  }

  // Lanes are stored as `Blend` takes them: for kPixels pixels the factors of the low halves of each 16
  // bytes, then those of the high halves.
  static void PlanLanes(const PairAxis& axis, std::int32_t i, std::int16_t* lanes) {
    const PairBlock& block = axis.blocks[ListOf(axis, i).block];
    const std::int32_t place = i % kPixels;
    std::int16_t* const half = lanes + static_cast<std::ptrdiff_t>(i / kPixels) * (8 * W::kLanes) +
                               place % 4 / 2 * (4 * W::kLanes) + place / 4 * 8 + place % 2 * 4;
    for (std::int32_t c = 0; c < 4; ++c) {
      half[c] = block.multiplier;
      half[W::kLanes + c] = block.tau;
      half[2 * W::kLanes + c] = block.kappa;
      half[3 * W::kLanes + c] = block.offset;
    }
  }

  static void AlongRows(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t*,
                        std::uint8_t* slot) {
    const AxisWeights& exact = plan.rowPairs.exact;
    const std::int32_t* sources = plan.pairSources;
    const std::int16_t* lanes = plan.pairLanes;
    const std::int32_t padded = Padded(exact.count);
    for (std::int32_t i = 0; i < padded;
         i += kPixels, slot += 4 * kPixels, sources += kGroup, lanes += 8 * W::kLanes) {
      const std::int32_t base = sources[2 * kPixels];
      const std::uint8_t* const from = rows[0] + 4 * static_cast<std::ptrdiff_t>(base);
      W pixels = W::Gather(from, exact.sourceLength - base, sources);
      if (!plan.rowPairs.copies) {
        const W light = W::Gather(from, exact.sourceLength - base, sources + kPixels);
        pixels = Blend(PairFactors<W>::At(lanes), PairFactors<W>::At(lanes + 4 * W::kLanes), pixels, light);
      }
      W::StoreBytes(slot, pixels);
    }
  }

  PIXMORPH_INLINE_MEMBER static W Blend(const PairFactors<W>& low, const PairFactors<W>& high, W a, W b) {
    return W::Pack(low.Blend(W::Low(a), W::Low(b)), high.Blend(W::High(a), W::High(b)));
  }

  static void AlongColumns(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots,
                           std::uint8_t* out, std::uint32_t top) {
    const AxisWeights& exact = plan.columnPairs.exact;
    const PairBlock& block = plan.columnPairs.blocks[exact.lists[r].block];
    const std::uint8_t* const heavy = slots + block.heavy * plan.slotBytes;
    const std::uint8_t* const light = slots + block.light * plan.slotBytes;
    const std::int32_t width = plan.rowPairs.exact.count;
    if (block.multiplier == 0) return Copy(heavy, width, out, top);
    const auto factors = PairFactors<W>::Of(block);
    std::int32_t x = 0;
    for (; x + kPixels <= width; x += kPixels, out += 4 * kPixels)
      W::StoreBytes(
          out,
          W::WithTop(Blend(factors, factors, W::LoadBytes(heavy + 4 * x), W::LoadBytes(light + 4 * x)), top));
    if (x == width) return;
    alignas(64) std::uint8_t rest[4 * kPixels];
    W::StoreBytes(
        rest,
        W::WithTop(Blend(factors, factors, W::LoadBytes(heavy + 4 * x), W::LoadBytes(light + 4 * x)), top));
    std::memcpy(out, rest, static_cast<std::uint32_t>(4 * (width - x)));
  }

  static void Copy(const std::uint8_t* row, std::int32_t width, std::uint8_t* out, std::uint32_t top) {
    std::int32_t x = 0;
    for (; x + kPixels <= width; x += kPixels, out += 4 * kPixels)
      W::StoreBytes(out, W::WithTop(W::LoadBytes(row + 4 * x), top));
    if (x == width) return;
    alignas(64) std::uint8_t rest[4 * kPixels];
    W::StoreBytes(rest, W::WithTop(W::LoadBytes(row + 4 * x), top));
    std::memcpy(out, rest, static_cast<std::uint32_t>(4 * (width - x)));
  }
};

// Pairs where they will do, the general passes elsewhere.
template <class Pairs, class General>
std::int64_t PlanBytesOfEither(const AxisWeights& row, const AxisWeights& column) {
  const std::int64_t pairs = Pairs::PlanBytes(row, column), general = General::PlanBytes(row, column);
  return pairs < 0 || general < 0 ? -1 : pairs > general ? pairs : general;
}

template <class Pairs, class General>
bool PlanEither(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
  return Pairs::Plan(row, column, memory, plan) || General::Plan(row, column, memory, plan);
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_PAIR_SIMD_H_
