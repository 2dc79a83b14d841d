#include "scaling/area_average.h"

#include "picture/editor.h"
#include "runtime/yield.h"
#include "scaling/area_rows.h"
#include "scaling/source_pixels.h"

namespace pixmorph {

namespace {

void AverageRows(const PictureReader& reader, PictureWriter* writer, int newWidth, int newHeight) {
  AreaRows rows(SourcePixelsOf(reader), writer->Layout(), newWidth, newHeight, kernels::Kernels());
  for (int y = 0; y < newHeight; ++y) {
    rows.MakeRow(writer->row, y);
    writer->AddPixelRow();
    yield.YieldPoint();
  }
}

}  // namespace

REALpictureStruct* ResizeAreaAverage(REALpictureStruct* source, int newWidth, int newHeight) {
  PictureReader reader;
  PictureRef result;
  if (reader.GetPictureReader(source)) {
    PictureWriter writer;
    if (writer.NewPictureWriter(reader, newWidth, newHeight)) {
      AverageRows(reader, &writer, newWidth, newHeight);
      result = PictureRef::Adopt(writer.RenderPictureWriter());
    }
    reader.clear();
  }
  yield.YieldPoint();
  return result.Detach();
}

}  // namespace pixmorph
