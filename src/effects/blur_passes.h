#ifndef PIXMORPH_EFFECTS_BLUR_PASSES_H_
#define PIXMORPH_EFFECTS_BLUR_PASSES_H_

#include <cstdint>

#include "picture/editor.h"
#include "runtime/yield.h"
#include "support/owned.h"

namespace pixmorph {

// The memory that a blur asks for before it starts, in this order. Where any of it can't be had no pass runs.
struct BlurBuffers {
  // `radius` from 1 up; `width` in pixels, `rowBytes` of the result's rows.
  BlurBuffers(std::int64_t radius, std::int32_t width, std::int32_t rowBytes);
  bool Complete() const { return table && red && green && blue && rowCopy; }

  // Stays unused, and so takes no pages: quotients are multiplied out. Its size alone decides which radii can
  // be had.
  WorkBuffer<std::int32_t> table;
  WorkBuffer<std::int32_t> red, green, blue;  // one running sum a column
  WorkBuffer<std::uint8_t> rowCopy;
};

// Both passes from the reader's picture into the writer's rows, one yield after each row of each pass, 2 *
// height in all. `radius` 1 .. 1048573. [calls host] [may yield]
void RunBlurPasses(PictureReader& reader, PictureWriter& writer, const BlurBuffers& buffers,
                   std::int32_t radius, YieldData& yieldData);

}  // namespace pixmorph

#endif  // PIXMORPH_EFFECTS_BLUR_PASSES_H_
