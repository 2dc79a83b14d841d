#ifndef PIXMORPH_KERNELS_RESAMPLE_PAIR_SIMD_H_
#define PIXMORPH_KERNELS_RESAMPLE_PAIR_SIMD_H_

#include <cstring>

#include "kernels/resample_kernel.h"

// Both passes for lists of one or two taps, over a vector type W of 16-bit lanes. Slots hold one intermediate
// row of 32-bit words each.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kPairPatterns = 64;  // that are looked through for one like a new one
constexpr std::int64_t kStreamedPixels = 4 << 20;  // of a result that few caches would keep anyway

// A result of fewer for each block: verifying the blocks would cost more than it saves.
constexpr std::int64_t kPixelsPerBlock = 1000;

// What some lanes of a vector need: nothing but the multiplier, tau too, or tau and offset.
enum class PairTies { kPlain, kTau, kAll };

// What the lanes of one vector are multiplied with.
template <class W>
struct PairFactors {
  W multiplier, tau, offset;

  // The same for all lanes.
  PIXMORPH_INLINE_MEMBER static PairFactors Of(const PairBlock& block) {
    return {W::Set(block.multiplier), W::Set(block.tau), W::Set(block.offset)};
  }
  // Lane by lane: three vectors in a row.
  PIXMORPH_INLINE_MEMBER static PairFactors At(const std::int16_t* lanes) {
    return {W::Load(lanes), W::Load(lanes + W::kLanes), W::Load(lanes + 2 * W::kLanes)};
  }

  // Channels from the heavier and the lighter samples.
  template <PairTies kTies>
  PIXMORPH_INLINE_MEMBER W Blend(W a, W b) const {
    const W d = W::Subtract(b, a);
    const W low = W::MultiplyLow(d, multiplier), floor = W::Add(a, W::MultiplyHigh(d, multiplier));
    if (kTies == PairTies::kPlain) return W::Add(floor, W::TopBits(low));
    const W byTau = W::MultiplyLow(a, tau), move = kTies == PairTies::kTau ? byTau : W::Add(byTau, offset);
    // Less 2^15, so that signed saturation holds it where it belongs and its sign says what to do.
    return W::OneMoreIfNotNegative(floor, W::AddSaturated(W::Xor(low, W::Set(INT16_MIN)), move));
  }
};

template <class W>
class PairPasses {
 public:
  static std::int64_t PlanBytes(const AxisWeights& row, const AxisWeights& column) {
    return ByteSize(PairsBytes(row)).Plus(PairsBytes(column)).Plus(RowPlanBytes(row)).Bytes();
  }

  static bool Plan(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
    const std::int64_t pixels = std::int64_t{row.count} * column.count;
    if (pixels < kPixelsPerBlock * (std::int64_t{row.blockCount} + column.blockCount)) return false;
    auto* const rowPlan = static_cast<std::uint8_t*>(memory);
    auto* const blocks = rowPlan + RowPlanBytes(row);
    if (!PackPairs(row, blocks, plan.rowPairs)) return false;
    if (!PackPairs(column, blocks + PairsBytes(row), plan.columnPairs)) return false;
    if (W::Spread::Plan(plan.rowPairs, rowPlan, plan))
      plan.alongRows = W::Spread::AlongRows;
    else if (PlanGroups(plan.rowPairs, W::kNearReach, rowPlan, plan))
      plan.alongRows = AlongRows<W::kNearReach>;
    else if (PlanGroups(plan.rowPairs, W::kReach, rowPlan, plan))
      plan.alongRows = AlongRows<W::kReach>;
    else
      return false;
    plan.alongColumns = AlongColumns;
    plan.finishRows = W::EndStreaming;
    plan.batchRows = 1;
    plan.slotBytes = (4 * (std::int64_t{Groups(row)} + 1) * kPixels + 63) / 64 * 64;
    plan.fetchesNextBatch = true;
    plan.scratchBytes = 0;
    plan.pairStreams = pixels >= kStreamedPixels;
    return true;
  }

 private:
  static constexpr std::int32_t kPixels = 2 * W::kLanes / 4;  // that two vectors of lanes hold

  // How kPixels output pixels in a row are made. Lanes are as `Blend` takes them: the factors of the low
  // halves of each 16 bytes, then those of the high halves.
  struct alignas(64) Record {
    std::int16_t lanes[6 * W::kLanes];
    std::int32_t heavy[kPixels], light[kPixels];  // source columns, counted from the group's base
  };

  // Of the groups, or of what stands in for them.
  static std::int64_t RowPlanBytes(const AxisWeights& row) {
    const std::int64_t groups = ByteSize(Groups(row)).Times(sizeof(Record) + sizeof(PairGroup)).Bytes();
    const std::int64_t spread = W::Spread::PlanBytes(row);
    return spread > groups ? spread : groups;
  }

  // For windows of `reach` source pixels. False when some columns of a group lie too far apart.
  static bool PlanGroups(const PairAxis& axis, std::int32_t reach, void* memory, FusedPlan& plan) {
    const std::int32_t groups = Groups(axis.exact);
    auto* const records = static_cast<Record*>(memory);
    auto* const table = reinterpret_cast<PairGroup*>(records + groups);
    std::int32_t used = 0;
    for (std::int32_t g = 0; g < groups; ++g) {
      if (!MakeRecord(axis, g, reach, records[used], table[g].base)) return false;
      table[g].record = Find(records, used);
      if (table[g].record == used) ++used;
    }
    plan.pairRecords = records;
    plan.pairGroups = table;
    return true;
  }

  static std::int32_t Groups(const AxisWeights& row) { return (row.count + kPixels - 1) / kPixels; }

  // The same few records come again and again along a row, and all of them stay in the first-level cache when
  // they are stored once.
  static std::int32_t Find(const Record* records, std::int32_t made) {
    for (std::int32_t n = made - 1; n >= 0 && n >= made - kPairPatterns; --n)
      if (std::memcmp(records + n, records + made, sizeof(Record)) == 0) return n;
    return made;
  }

  static bool MakeRecord(const PairAxis& axis, std::int32_t group, std::int32_t reach, Record& record,
                         std::int32_t& base) {
    std::memset(&record, 0, sizeof record);
    base = INT32_MAX;
    std::int32_t last = 0;
    for (std::int32_t n = 0; n < kPixels; ++n) {
      const std::int32_t i = group * kPixels + n;
      const WeightList& list = axis.exact.lists[i < axis.exact.count ? i : axis.exact.count - 1];
      const PairBlock& block = axis.blocks[list.block];
      record.heavy[n] = list.first + block.heavy;
      record.light[n] = list.first + block.light;
      if (list.first < base) base = list.first;
      const std::int32_t end = list.first + (block.heavy == block.light ? block.heavy : 1);
      if (end > last) last = end;
      SetLanes(block, n, record.lanes);
    }
    // Whole windows lie inside the row wherever the row is long enough.
    const std::int32_t most = axis.exact.sourceLength - reach;
    if (base > most && most >= 0) base = most;
    for (std::int32_t n = 0; n < kPixels; ++n) record.heavy[n] -= base, record.light[n] -= base;
    return last - base < reach;
  }

  static void SetLanes(const PairBlock& block, std::int32_t place, std::int16_t* lanes) {
    std::int16_t* const half = lanes + place % 4 / 2 * (3 * W::kLanes) + place / 4 * 8 + place % 2 * 4;
    for (std::int32_t c = 0; c < 4; ++c) {
      half[c] = block.multiplier;
      half[W::kLanes + c] = block.tau;
      half[2 * W::kLanes + c] = block.offset;
    }
  }

  template <std::int32_t kReach>
  static void AlongRows(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t*,
                        std::uint8_t* slot) {
    if (plan.rowPairs.copies)
      return MakeGroups<kReach>(plan, rows, slot, [](const Record&, W heavy, auto) { return heavy; });
    if (plan.rowPairs.averages)
      return MakeGroups<kReach>(plan, rows, slot, [](const Record&, W heavy, auto light) {
        return W::AverageBytes(heavy, light());
      });
    MakeGroups<kReach>(plan, rows, slot, [](const Record& record, W heavy, auto light) {
      const std::int16_t* const lanes = record.lanes;
      return Blend<PairTies::kAll>(PairFactors<W>::At(lanes), PairFactors<W>::At(lanes + 3 * W::kLanes),
                                   heavy, light());
    });
  }

  // Fills a slot with what `make(record, heavy, light)` gives for each group; `light` is a function.
  template <std::int32_t kReach, class Make>
  PIXMORPH_INLINE_MEMBER static void MakeGroups(const FusedPlan& plan, const std::uint8_t* const* rows,
                                                std::uint8_t* slot, Make make) {
    const std::uint8_t *const row = rows[0], *const next = rows[1];
    const auto* const records = static_cast<const Record*>(plan.pairRecords);
    const std::int32_t width = plan.rowPairs.exact.sourceLength, groups = Groups(plan.rowPairs.exact);
    const PairGroup* group = plan.pairGroups;
    for (std::int32_t g = 0; g < groups; ++g, ++group, slot += 4 * kPixels) {
      const Record& record = records[group->record];
      const auto at = 4 * static_cast<std::ptrdiff_t>(group->base);
      // The same place of the row that comes next, while this one is worked on.
      if (g % (16 / kPixels) == 0) __builtin_prefetch(next + at, 0, 2);
      const std::int32_t rest = width - group->base;
      const W heavy = W::template Gather<kReach>(row + at, rest, record.heavy);
      W::StoreBytes(slot, make(record, heavy, [&] { return W::template Gather<kReach>(row + at, rest, record.light); }));
    }
  }

  template <PairTies kTies>
  PIXMORPH_INLINE_MEMBER static W Blend(const PairFactors<W>& low, const PairFactors<W>& high, W a, W b) {
    return W::Pack(low.template Blend<kTies>(W::Low(a), W::Low(b)),
                   high.template Blend<kTies>(W::High(a), W::High(b)));
  }

  static void AlongColumns(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots,
                           std::uint8_t* out, std::uint32_t top) {
    const AxisWeights& exact = plan.columnPairs.exact;
    const PairBlock& block = plan.columnPairs.blocks[exact.lists[r].block];
    const std::uint8_t* const heavy = slots + block.heavy * plan.slotBytes;
    const std::uint8_t* const light = slots + block.light * plan.slotBytes;
    if (block.multiplier == 0)
      return WriteRow(plan, out,
                      [&](std::ptrdiff_t x) { return W::WithTop(W::LoadBytes(heavy + 4 * x), top); });
    if (block.averages)
      return WriteRow(plan, out, [&](std::ptrdiff_t x) {
        return W::WithTop(W::AverageBytes(W::LoadBytes(heavy + 4 * x), W::LoadBytes(light + 4 * x)), top);
      });
    if (block.tau == 0)
      BlendRow<PairTies::kPlain>(plan, block, heavy, light, out, top);
    else
      BlendRow<PairTies::kTau>(plan, block, heavy, light, out, top);
  }

  template <PairTies kTies>
  static void BlendRow(const FusedPlan& plan, const PairBlock& block, const std::uint8_t* heavy,
                       const std::uint8_t* light, std::uint8_t* out, std::uint32_t top) {
    const auto factors = PairFactors<W>::Of(block);
    WriteRow(plan, out, [&](std::ptrdiff_t x) {
      return W::WithTop(
          Blend<kTies>(factors, factors, W::LoadBytes(heavy + 4 * x), W::LoadBytes(light + 4 * x)), top);
    });
  }

  // Writes `width` pixels of what `at(x)` gives for kPixels pixels from x on; slots are readable to kPixels
  // behind the width. Large results go past the caches, which they would only pass through, but for the ends:
  // their lines belong to other rows too.
  template <class At>
  PIXMORPH_INLINE_MEMBER static void WriteRow(const FusedPlan& plan, std::uint8_t* out, At at) {
    const std::int32_t width = plan.rowPairs.exact.count;
    std::int32_t x = 0;
    const auto past = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(out) % (4 * kPixels));
    if (plan.pairStreams && past % 4 == 0 && width >= 2 * kPixels) {
      if (past != 0) StoreSome(out, at(0), x = kPixels - static_cast<std::int32_t>(past / 4));
      for (; x + kPixels <= width; x += kPixels) W::Stream(out + 4 * static_cast<std::ptrdiff_t>(x), at(x));
    } else {
      for (; x + kPixels <= width; x += kPixels)
        W::StoreBytes(out + 4 * static_cast<std::ptrdiff_t>(x), at(x));
    }
    if (x < width) StoreSome(out + 4 * static_cast<std::ptrdiff_t>(x), at(x), width - x);
  }

  // The first `count` of a vector's pixels.
  PIXMORPH_INLINE_MEMBER static void StoreSome(std::uint8_t* out, W pixels, std::int32_t count) {
    alignas(64) std::uint8_t bytes[4 * kPixels];
    W::StoreBytes(bytes, pixels);
    std::memcpy(out, bytes, static_cast<std::uint32_t>(4 * count));
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_PAIR_SIMD_H_
