#include "scaling/area_average.h"

#include "picture/editor.h"
#include "runtime/yield.h"
#include "scaling/area_rows.h"
#include "scaling/source_pixels.h"

namespace pixmorph {

namespace {

// Row y, and those from there on that are made with it; how many.
std::int32_t MakeSome(AreaRows& rows, PictureWriter* writer, std::int32_t y) {
  const std::int32_t count = rows.AtOnce(y);
  std::uint8_t* out[AreaRows::kMostAtOnce];
  for (std::int32_t n = 0; n < count; ++n) out[n] = writer->GetRow(y + n);
  rows.MakeRows(out, count, y);
  return count;
}

void AverageRows(const PictureReader& reader, PictureWriter* writer, int newWidth, int newHeight) {
  AreaRows rows(SourcePixelsOf(reader), writer->Layout(), newWidth, newHeight, kernels::Kernels());
  for (int y = 0, made = 0; y < newHeight; ++y) {
    if (y == made) made += MakeSome(rows, writer, y);
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
