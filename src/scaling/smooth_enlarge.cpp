#include "scaling/smooth_enlarge.h"

#include "picture/editor.h"
#include "runtime/yield.h"
#include "scaling/smooth_rows.h"
#include "scaling/smooth_tables.h"
#include "scaling/source_pixels.h"

namespace pixmorph {

using kernels::PixelLayout;

namespace {

struct Job {
  const PictureReader& reader;
  PictureWriter& writer;
  const SmoothTables& tables;
  int newWidth;
  int newHeight;
};

// Byte of a pixel of layout `to` that holds the channel of byte `channel` of layout `from`; -1: there is
// none.
int MatchingByte(int channel, PixelLayout from, PixelLayout to) {
  const bool alike = (from == PixelLayout::kRgb24) == (to == PixelLayout::kRgb24);
  if (alike) return channel;
  return channel < 3 ? 2 - channel : -1;
}

void MakeChannelRow(const Job& job, int channel, int y) {
  const kernels::SmoothWeights& weights = job.tables.RowWeights(y);
  const int outByte = MatchingByte(channel, job.reader.Layout(), job.writer.Layout());
  if (outByte < 0) return;
  const SourcePixels source = SourcePixelsOf(job.reader);
  const std::uint8_t* rows[4];
  for (int tap = 0; tap < 4; ++tap) {
    const int row = job.tables.RowIndex(y) - 1 + tap;
    rows[tap] = source.rows.Row(row < 0 ? 0 : row < source.height ? row : source.height - 1) + channel;
  }
  kernels::ref::SmoothVertical(job.tables.RowBuffer(), rows, job.reader.pixelSize, weights, source.width);
  kernels::ref::SmoothHorizontal(job.writer.GetRow(y) + outByte, job.writer.pixelSize, job.tables.RowBuffer(),
                                 source.width, job.tables.ColumnIndex(), job.tables.ColumnWeights(),
                                 job.newWidth);
}

void FillTopBytes(const Job& job, int y) {
  std::uint8_t* row = job.writer.GetRow(y);
  for (int x = 0; x < job.newWidth; ++x) row[x * 4 + 3] = 0xFF;
}

// One byte of a pixel after the other, without memory beyond the tables.
void MakeByChannels(const Job& job) {
  const bool topIsMissing = job.reader.pixelSize == 3 && job.writer.pixelSize == 4;
  for (int channel = 0; channel < job.reader.pixelSize; ++channel) {
    for (int y = 0; y < job.newHeight; ++y) {
      MakeChannelRow(job, channel, y);
      if (topIsMissing && channel == 0) FillTopBytes(job, y);
      yield.YieldPoint();
    }
  }
}

// Whole rows at a time. There are as many yields as by channels, with the work spread evenly between them.
void MakeByRows(const Job& job, SmoothRows* rows) {
  for (int y = 0; y < job.newHeight; ++y) {
    rows->MakeRow(job.writer.GetRow(y), y);
    for (int i = 0; i < job.reader.pixelSize; ++i) yield.YieldPoint();
  }
}

void MakeAll(const Job& job) {
  SmoothRows rows(SourcePixelsOf(job.reader), job.writer.Layout(), job.tables, job.newWidth, job.newHeight,
                  kernels::Kernels());
  if (rows.Ready()) {
    MakeByRows(job, &rows);
  } else {
    MakeByChannels(job);
  }
}

// Everything between the reader's set-up and its end. `atEnd`: script code may have run.
REALpictureStruct* Enlarge(const PictureReader& reader, int newWidth, int newHeight, bool* atEnd) {
  PictureWriter writer;
  if (!writer.NewPictureWriter(reader, newWidth, newHeight)) return nullptr;
  SmoothTables tables(reader.width, reader.height, newWidth, newHeight);
  if (!tables.Allocate()) return nullptr;
  tables.FillIndexes();
  tables.FillColumnWeights();
  yield.YieldPoint();
  tables.FillRowWeights();
  yield.YieldPoint();
  yield.YieldPoint();
  MakeAll({reader, writer, tables, newWidth, newHeight});
  tables.Free();
  *atEnd = true;
  return writer.RenderPictureWriter();
}

}  // namespace

REALpictureStruct* ResizeSmoothEnlarge(REALpictureStruct* picture, int newWidth, int newHeight,
                                       PictureRef* kept) {
  PictureReader reader;
  if (!reader.GetPictureReader(picture)) return nullptr;
  if (reader.width >= newWidth || reader.height >= newHeight) return nullptr;
  // The reader keeps alive what it reads; where that is a copy, nothing else keeps the picture itself.
  PictureRef original;
  if (kept && reader.picture != picture) original = PictureRef::Retain(picture);
  bool atEnd = false;
  PictureRef result = PictureRef::Adopt(Enlarge(reader, newWidth, newHeight, &atEnd));
  if (kept && atEnd && !result)
    *kept = original ? static_cast<PictureRef&&>(original) : PictureRef::Retain(picture);
  reader.clear();
  return result.Detach();
}

}  // namespace pixmorph
