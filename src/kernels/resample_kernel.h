#ifndef PIXMORPH_KERNELS_RESAMPLE_KERNEL_H_
#define PIXMORPH_KERNELS_RESAMPLE_KERNEL_H_

#include <cstddef>
#include <cstdint>

#include "kernels/area_average_kernel.h"
#include "kernels/contribution.h"
#include "kernels/pixel_layout.h"
#include "kernels/resample_pairs.h"
#include "kernels/resample_quads.h"
#include "kernels/resample_weights.h"
#include "kernels/resample_words.h"

// Filtered resampling: weighted sums along a row, then along the columns of an 8-bit intermediate.
namespace pixmorph::kernels {

namespace ref {

// One output channel from its weighted sum: trunc(sum / weightSum + 0.5) clamped to a byte; 0 when the
// quotient is not a finite number. [pure]
std::uint8_t ResampledChannel(double sum, float weightSum);

// One row of the intermediate: `count` words 0x00RRGGBB from `count` lists over the pixels of `source`. Sums
// are plain doubles in the order of the taps. Reads only pixels that the lists name. [pure]
void ResampleAlongRow(std::uint32_t* out, const ContributionList* lists, std::int32_t count,
                      const std::uint8_t* source, PixelLayout layout);

// The same from gathered weights. [pure]
void ResampleAlongRow(std::uint32_t* out, const AxisWeights& axis, const std::uint8_t* source,
                      PixelLayout layout);

// One row of the result: `width` pixels in `layout` from one list over the rows of the intermediate, which is
// `width` words wide. A list without entries counts as empty. [pure]
void ResampleAlongColumns(std::uint8_t* out, PixelLayout layout, const ContributionList& list,
                          const std::uint32_t* intermediate, std::int32_t width);

}  // namespace ref

// What the passes for equal weights need beside the weights.
struct AveragePlan {
  AreaColumns columns;        // of the rows' pass
  bool tiles;                 // its boxes are ones that can be averaged at once
  std::int32_t sourceBytes;   // of a row
  AxisWeights column;         // of the columns' pass
  const AreaColumns* blocks;  // how to divide its sums, for each of its blocks
  std::uint16_t* sums;        // of one row
};

// Of one batch of source rows.
constexpr std::int32_t kMostBatchRows = 8;

// The two passes woven into one. Source rows go in by batches, in order; each batch becomes one slot of
// intermediate rows. An output row needs the slots of the batches in which its list's first to last source
// row lie, contiguous in memory and in order.
struct FusedPlan {
  // One slot from `batchRows` rows of 32-bit source pixels, of which exactly the pixels are read. Behind the
  // source's last row any row may stand in. Where every output row needs one batch of its own, it is made
  // before the next batch goes in: until then the rows stay as they are. `scratch` and `slot` are aligned to
  // 64 bytes.
  void (*alongRows)(const FusedPlan& plan, const std::uint8_t* const* rows, std::uint8_t* scratch,
                    std::uint8_t* slot);
  // Output row r, exactly its 32-bit pixels, with the top byte `top` (0 or 0xFF000000). `slots` is the first
  // slot that it needs.
  void (*alongColumns)(const FusedPlan& plan, std::int32_t r, const std::uint8_t* slots, std::uint8_t* out,
                       std::uint32_t top);
  // Before others look at output rows: orders what was written past the caches before what is stored later.
  // Null where nothing is.
  void (*finishRows)();
  std::int32_t batchRows;     // 1 .. kMostBatchRows
  bool fetchesNextBatch;      // `alongRows` is given the next batch's rows, too, behind its own, to fetch them
  std::int64_t slotBytes;     // a multiple of 64
  std::int64_t scratchBytes;  // a multiple of 64
  // Of these the level uses its own kind.
  QuadAxis rowQuads, columnQuads;
  const QuadStretch* quadStretches;  // of the output columns, one after the other
  WordAxis rowWords, columnWords;
  PairAxis rowPairs, columnPairs;
  const PairGroup* pairGroups;     // of the output columns, one vector after the other
  const void* pairRecords;         // the level's own
  const std::int32_t* pairStarts;  // or, in bytes of a slot, where copies and averages of source pixels begin
  bool pairStreams;                // the result is large: write it past the caches
  AveragePlan averages;
};

struct ResampleKernels {
  // The plain passes of the reference.
  void (*alongRow)(std::uint32_t* out, const ContributionList* lists, std::int32_t count,
                   const std::uint8_t* source, PixelLayout layout);
  void (*alongColumns)(std::uint8_t* out, PixelLayout layout, const ContributionList& list,
                       const std::uint32_t* intermediate, std::int32_t width);

  // Memory that `plan` needs, in bytes; negative when it has no size. Null pointers: a level with plain
  // passes only.
  std::int64_t (*planBytes)(const AxisWeights& row, const AxisWeights& column);
  // Plans a whole resize into `memory` (planBytes bytes, aligned to 64), which the plan uses as long as it is
  // used. False when the weights don't suit; the plain passes then have to do it.
  bool (*plan)(const AxisWeights& row, const AxisWeights& column, void* memory, FusedPlan& plan);
};

extern const ResampleKernels kResampleScalar, kResampleSse2, kResampleSse41, kResampleAvx2, kResampleAvx512;

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_KERNEL_H_
