#ifndef PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_
#define PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_

#include "kernels/resample_quad_columns_avx512.h"
#include "kernels/resample_quad_rows_avx512.h"

// Both passes in quads: products of four bytes by four bytes.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kStretchQuads = 256;  // 16 KiB of woven source pixels

struct QuadPasses {
  static std::int64_t PlanBytes(const AxisWeights& row, const AxisWeights& column) {
    return ByteSize(QuadsBytes(row))
        .Plus(QuadsBytes(column))
        .Plus(ByteSize(row.count).Plus(3).Times(sizeof(QuadStretch)).Bytes())
        .Bytes();
  }

  static bool Plan(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan) {
    auto* const columnMemory = static_cast<std::uint8_t*>(memory) + QuadsBytes(row);
    if (!PackQuads(row, true, memory, plan.rowQuads)) return false;
    if (!PackQuads(column, false, columnMemory, plan.columnQuads)) return false;
    auto* const stretches = reinterpret_cast<QuadStretch*>(columnMemory + QuadsBytes(column));
    plan.quadStretches = stretches;
    plan.alongRows = AlongRows;
    plan.alongColumns = AlongColumns;
    plan.batchRows = 4;
    plan.slotBytes = (row.count + kBlock - 1) / kBlock * std::int64_t{kBlockBytes};
    plan.fetchesNextBatch = true;
    plan.scratchBytes = std::int64_t{64} * (CutStretches(plan.rowQuads, stretches) + 4);
    return true;
  }

 private:
  // Groups of four columns joined while their quads fit the first-level cache. The quads of the longest
  // stretch.
  static std::int32_t CutStretches(const QuadAxis& axis, QuadStretch* stretches) {
    std::int32_t longest = 0;
    QuadStretch* last = nullptr;
    for (std::int32_t i = 0; i < axis.exact.count; i += 4) {
      QuadStretch group = {i + 4, axis.lists[i].quad, axis.lists[i].quad};
      for (std::int32_t n = i; n < i + 4; ++n) {
        if (axis.lists[n].quad < group.quad) group.quad = axis.lists[n].quad;
        if (axis.lists[n].quad > group.quadEnd) group.quadEnd = axis.lists[n].quad;
      }
      group.quadEnd += axis.widest;
      if (last && group.quad >= last->quad && group.quadEnd <= last->quad + kStretchQuads) {
        last->end = group.end;
        if (group.quadEnd > last->quadEnd) last->quadEnd = group.quadEnd;
      } else {
        last = last ? last + 1 : stretches;
        *last = group;
      }
      if (last->quadEnd - last->quad > longest) longest = last->quadEnd - last->quad;
    }
    return longest;
  }
};

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_QUADS_AVX512_H_
