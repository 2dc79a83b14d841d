#include "effects/draw.h"

#include <math.h>

#include "host/encodings.h"
#include "kernels/draw_mask_tables.h"
#include "kernels/levels.h"
#include "picture/editor.h"
#include "runtime/yield.h"
#include "support/exceptions.h"
#include "support/numeric.h"
#include "support/owned.h"
#include "support/wide_registers.h"

namespace pixmorph {
namespace {

// A position's whole part and what is left of it.
struct Place {
  std::int32_t whole;
  double fraction;  // 0 .. below 1
};

// False for a position that no picture can reach into view from.
bool SplitPosition(double position, Place* place) {
  const double whole = floor(position);
  if (!(whole >= -2147483648.0 && whole <= 2147483647.0)) return false;
  *place = {TruncateToInt32(whole), fabs(position - whole)};
  return true;
}

// One drawing with its pictures open.
struct Drawing {
  PictureEditor& destination;
  PictureReader& source;
  PictureEditor* mask;  // null: none
  kernels::MaskTables& maskTables;
  kernels::DrawPlan plan{};
  std::int32_t top = 0;  // destination row of the source's row 0
  bool inView = false;

  void Plan(double x, double y, double alpha);
  void DrawRow(const kernels::DrawKernels& kernel, std::int32_t row);

 private:
  const std::uint8_t* SourceRow(std::int64_t row) {
    if (!inView || row < 0 || row >= source.height) return nullptr;
    return source.GetRow(static_cast<std::int32_t>(row));
  }
  const std::uint8_t* MaskRow(std::int64_t row) {
    if (!mask || row < 0 || row >= mask->height) return nullptr;
    return mask->GetRow(static_cast<std::int32_t>(row));
  }
};

void Drawing::Plan(double x, double y, double alpha) {
  plan.destination = destination.Layout();
  plan.source = source.Layout();
  plan.destinationWidth = destination.width;
  plan.sourceWidth = source.width;
  plan.masked = mask != nullptr;
  if (mask) {
    plan.mask = mask->Layout();
    plan.maskWidth = mask->width;
    plan.maskTables = &maskTables;
  }
  Place left{}, upper{};
  inView = SplitPosition(x, &left) && SplitPosition(y, &upper);
  plan.left = left.whole;
  top = upper.whole;
  const double fx = left.fraction, fy = upper.fraction;
  plan.weights[kernels::kUpperLeft] = fx * fy * alpha;
  plan.weights[kernels::kUpperRight] = (1 - fx) * fy * alpha;
  plan.weights[kernels::kLowerRight] = (1 - fx) * (1 - fy) * alpha;
  plan.weights[kernels::kLowerLeft] = fx * (1 - fy) * alpha;
  const std::int32_t columns = source.width < destination.width ? source.width : destination.width;
  const std::int32_t rows = source.height < destination.height ? source.height : destination.height;
  kernels::FinishDrawPlan(&plan, static_cast<std::int64_t>(columns) * rows);
}

void Drawing::DrawRow(const kernels::DrawKernels& kernel, std::int32_t row) {
  const std::int64_t lower = static_cast<std::int64_t>(row) - top;
  const kernels::DrawRows rows = {destination.GetRow(row), SourceRow(lower - 1), SourceRow(lower),
                                  MaskRow(lower - 1), MaskRow(lower)};
  kernel.drawRow(plan, rows);
}

bool RaiseNil(const char* message) {
  RaiseException(kNilObjectException, message, kEncodingASCII);
  return false;
}

}  // namespace

bool DrawPictureF(REALpictureStruct* destination, REALpictureStruct* picture, double x, double y,
                  double alpha, std::int32_t yieldInterval) {
  if (!destination) return RaiseNil("source is nil");
  if (!picture) return RaiseNil("picture is nil");
  const WideRegisters wideRegisters(kernels::Kernels().wideStates);
  // Declared in the order of opening: what is open is given back in the reverse order on every way out.
  const PictureRef mask = PictureRef::Adopt(REALGetPictureMask(picture, 0));
  PictureEditor maskEditor;
  if (mask && !maskEditor.GetPictureEditor(mask.Get())) return false;
  PictureEditor editor;
  if (!editor.GetPictureEditor(destination)) return false;
  PictureReader reader;
  if (!reader.GetPictureReader(picture)) return false;

  const kernels::DrawKernels& kernel = *kernels::Kernels().draw;
  YieldData yieldData{yieldInterval, 0};
  kernels::MaskTables maskTables;  // 8 KiB, filled only for a large drawing through a mask
  Drawing drawing{editor, reader, mask ? &maskEditor : nullptr, maskTables};
  drawing.Plan(x, y, alpha);
  yieldData.YieldPoint();
  for (std::int32_t row = 0; row < editor.height; ++row) {
    drawing.DrawRow(kernel, row);
    yieldData.YieldPoint();
  }
  yieldData.YieldPoint();
  return true;
}

}  // namespace pixmorph
