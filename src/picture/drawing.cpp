#include "host/services.h"
#include "host/versions.h"
#include "picture/locks.h"
#include "picture/utilities.h"
#include "support/numeric.h"
#include "support/owned.h"

namespace pixmorph {

namespace {

using DrawMethod = void (*)(REALgraphicsStruct* graphics, REALpictureStruct* source, int x, int y, int w,
                            int h, int sx, int sy, int sw, int sh);
constexpr char kDrawDeclaration[] =
    "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, h as Integer, "
    "sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, sh as Integer = -10000)";

DrawMethod FindDrawMethod(REALgraphicsStruct* graphics) {
  const auto draw = reinterpret_cast<DrawMethod>(REALLoadObjectMethod(AsObject(graphics), kDrawDeclaration));
  // Older runtimes draw through an entry of their own. They see it asked for, but its arguments were never
  // published, so that the row copy does its work.
  if (!draw && !RuntimeAtLeast(kVersionDrawMethodOnly)) FindRuntimeGraphicsDrawPicture();
  return draw;
}

bool CopyRows(const HostBitmap& destination, const HostBitmap& source) {
  const std::int64_t rowBytes = ByteSize(source.Width()).Times(4).Bytes();
  if (rowBytes < 0) return false;
  for (std::int32_t i = 0; i < source.Height(); ++i) {
    MoveMemory(destination.RowTable()[i], source.RowTable()[i], static_cast<unsigned int>(rowBytes));
  }
  return true;
}

// With the source already locked.
bool CopyInto(REALpictureStruct* destination, const REALpictureDescription& sourceDescription) {
  REALpictureDescription description{};
  DescriptionLock lock;
  if (!lock.Acquire(destination, &description, kDescriptionHostBitmap)) return false;
  const HostBitmap from = HostBitmap::Of(sourceDescription);
  const HostBitmap to = HostBitmap::Of(description);
  if (!from || !to || from.Width() != to.Width() || from.Height() != to.Height()) return false;
  return CopyRows(to, from);
}

}  // namespace

bool GraphicsDrawPicture(REALgraphicsStruct* graphics, REALpictureStruct* destination,
                         REALpictureStruct* source, std::int32_t x, std::int32_t y, std::int32_t w,
                         std::int32_t h, std::int32_t sx, std::int32_t sy, std::int32_t sw, std::int32_t sh) {
  if (graphics && source) {
    if (const DrawMethod draw = FindDrawMethod(graphics)) {
      draw(graphics, source, x, y, w, h, sx, sy, sw, sh);
      return true;
    }
  }
  return OwnCopy(destination, source, x, y, w, h, sx, sy, sw, sh);
}

bool GraphicsDrawPicture(REALpictureStruct* destination, REALpictureStruct* source, std::int32_t x,
                         std::int32_t y, std::int32_t w, std::int32_t h, std::int32_t sx, std::int32_t sy,
                         std::int32_t sw, std::int32_t sh) {
  if (!destination) return false;
  const auto graphics = HostRef<REALgraphicsStruct>::Adopt(REALGetPictureGraphics(destination));
  return GraphicsDrawPicture(graphics.Get(), destination, source, x, y, w, h, sx, sy, sw, sh);
}

bool OwnCopy(REALpictureStruct* destination, REALpictureStruct* source, std::int32_t x, std::int32_t y,
             std::int32_t w, std::int32_t h, std::int32_t sx, std::int32_t sy, std::int32_t sw,
             std::int32_t sh) {
  if (!destination || !source || sw != w || sh != h) return false;
  if (x != 0 || y != 0 || sx != 0 || sy != 0) return false;
  REALpictureDescription sourceDescription{};
  DescriptionLock sourceLock;
  if (!sourceLock.Acquire(source, &sourceDescription, kDescriptionHostBitmap)) return false;
  const bool copied = CopyInto(destination, sourceDescription);
  sourceLock.Release();
  REALPictureClearCache(destination);
  return copied;
}

}  // namespace pixmorph
