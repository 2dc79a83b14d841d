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
        .Plus(ByteSize(padded).Times(2 * sizeof(std::int32_t) + 16 * sizeof(std::int16_t)).Bytes())
        .Bytes();
  }

  static bool Plan(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
    const std::int32_t padded = Padded(row.count);
    auto* const lanes = static_cast<std::int16_t*>(memory);
    auto* const sources = reinterpret_cast<std::int32_t*>(lanes + 16 * static_cast<std::ptrdiff_t>(padded));
    auto* const blocks = reinterpret_cast<std::uint8_t*>(sources + 2 * static_cast<std::ptrdiff_t>(padded));
    if (!PackPairs(row, blocks, plan.rowPairs)) return false;
    if (!PackPairs(column, blocks + (PairsBytes(row) + 3) / 4 * 4, plan.columnPairs)) return false;
    for (std::int32_t i = 0; i < padded; ++i) PlanColumn(plan.rowPairs, i, lanes, sources);
    plan.pairLanes = lanes;
    plan.pairSources = sources;
    plan.alongRows = AlongRows;
    plan.alongColumns = AlongColumns;
    plan.batchRows = 1;
    plan.slotBytes = 4 * std::int64_t{padded};
    plan.scratchBytes = 8 * std::int64_t{padded};
    return true;
  }

 private:
  static constexpr std::int32_t kPixels = 2 * W::kLanes / 4;  // that two vectors of lanes hold

  static std::int32_t Padded(std::int32_t count) {
    return (count + kPairPadding - 1) / kPairPadding * kPairPadding;
  }

  // Lanes are stored as `Blend` takes them: for kPixels pixels the factors of the low halves of each 16
  // bytes, then those of the high halves.
  static void PlanColumn(const PairAxis& axis, std::int32_t i, std::int16_t* lanes, std::int32_t* sources) {
    const WeightList& list = axis.exact.lists[i < axis.exact.count ? i : axis.exact.count - 1];
    const PairBlock& block = axis.blocks[list.block];
    sources[2 * i] = list.first + block.heavy;
    sources[2 * i + 1] = list.first + block.light;
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

  static std::uint32_t PixelAt(const std::uint8_t* row, std::int32_t x) {
    std::uint32_t pixel;
    std::memcpy(&pixel, row + 4 * static_cast<std::ptrdiff_t>(x), sizeof pixel);
    return pixel;
  }

  static void AlongRows(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t* scratch,
                        std::uint8_t* slot) {
    const std::int32_t padded = Padded(plan.rowPairs.exact.count);
    const std::int32_t* source = plan.pairSources;
    auto* const a = reinterpret_cast<std::uint32_t*>(plan.rowPairs.copies ? slot : scratch);
    if (plan.rowPairs.copies) {
      for (std::int32_t i = 0; i < padded; ++i) a[i] = PixelAt(rows[0], source[2 * i]);
      return;
    }
    std::uint32_t* const b = a + padded;
    for (std::int32_t i = 0; i < padded; ++i, source += 2) {
      a[i] = PixelAt(rows[0], source[0]);
      b[i] = PixelAt(rows[0], source[1]);
    }
    const std::int16_t* lanes = plan.pairLanes;
    for (std::int32_t i = 0; i < padded; i += kPixels, lanes += 8 * W::kLanes) {
      const auto low = PairFactors<W>::At(lanes), high = PairFactors<W>::At(lanes + 4 * W::kLanes);
      W::StoreBytes(slot + 4 * static_cast<std::ptrdiff_t>(i), Blend(low, high, a + i, b + i));
    }
  }

  PIXMORPH_INLINE_MEMBER static W Blend(const PairFactors<W>& low, const PairFactors<W>& high,
                                        const void* heavy, const void* light) {
    const W a = W::LoadBytes(heavy), b = W::LoadBytes(light);
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
      W::StoreBytes(out, W::WithTop(Blend(factors, factors, heavy + 4 * x, light + 4 * x), top));
    if (x == width) return;
    alignas(64) std::uint8_t rest[4 * kPixels];
    W::StoreBytes(rest, W::WithTop(Blend(factors, factors, heavy + 4 * x, light + 4 * x), top));
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
