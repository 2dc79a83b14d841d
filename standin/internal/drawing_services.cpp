#include <algorithm>
#include <cstring>
#include <vector>

#include "standin/internal/picture_object.h"
#include "standin/internal/service.h"

namespace standin {
namespace {

constexpr int kWholeSide = -10000;  // the default of a source side: all of it

// One side of a drawing: which source position each destination position shows.
class Side {
 public:
  Side(int to, int toLength, int from, int fromLength, int toLimit, int fromLimit) {
    for (int i = 0; i < toLength; ++i) {
      const auto source = from + static_cast<std::int64_t>(i) * fromLength / toLength;
      const std::int64_t target = std::int64_t{to} + i;
      if (target < 0 || target >= toLimit || source < 0 || source >= fromLimit) continue;
      if (sources_.empty()) first_ = static_cast<int>(target);
      sources_.push_back(static_cast<int>(source));
    }
  }
  int First() const { return first_; }
  int Count() const { return static_cast<int>(sources_.size()); }
  int Source(int i) const { return sources_[static_cast<std::size_t>(i)]; }

 private:
  int first_ = 0;
  std::vector<int> sources_;
};

// Colours are copied as they are, from the nearest source pixel; neither alpha nor a mask takes part.
void Draw(PictureObject* target, const PictureObject& source, const Side& across, const Side& down) {
  std::vector<std::uint32_t> copy;
  if (!source.InMemory()) {
    copy.resize(static_cast<std::size_t>(source.width) * static_cast<std::size_t>(source.height));
    source.Read(copy.data());
  }
  const auto rowOf = [&](int y) {
    return source.InMemory() ? reinterpret_cast<const std::uint32_t*>(source.rows.Row(y))
                             : copy.data() + static_cast<std::ptrdiff_t>(y) * source.width;
  };
  // A pixmap is written in one go, since each writing is a request to the server.
  const int rowsAtOnce = target->InMemory() ? 1 : down.Count();
  std::vector<std::uint32_t> drawn(static_cast<std::size_t>(across.Count()) *
                                   static_cast<std::size_t>(rowsAtOnce));
  for (int y = 0; y < down.Count();) {
    std::uint32_t* out = drawn.data();
    const int start = y;
    for (const int end = y + rowsAtOnce; y < end; ++y) {
      const std::uint32_t* row = rowOf(down.Source(y));
      for (int x = 0; x < across.Count(); ++x) {
        *out++ = target->OpaqueTop() | (row[across.Source(x)] & 0xFFFFFFu);
      }
    }
    target->WriteRectangle(across.First(), down.First() + start, across.Count(), rowsAtOnce, drawn.data());
  }
}

void DrawPicture(void* handle, void* image, int x, int y, int w, int h, int sx, int sy, int sw, int sh) {
  auto* graphics = Objects().As<GraphicsObject>(handle, "Graphics.DrawPicture");
  const PictureObject* source = AsPicture(image, "Graphics.DrawPicture");
  auto* target = static_cast<PictureObject*>(graphics->picture.Get());
  if (!source->Constructed() || !target->Constructed()) return;
  if (sw == kWholeSide) sw = source->width;
  if (sh == kWholeSide) sh = source->height;
  const Side across(x, w, sx, sw, target->width, source->width);
  const Side down(y, h, sy, sh, target->height, source->height);
  if (across.Count() > 0 && down.Count() > 0) Draw(target, *source, across, down);
}

void* GetGraphics(void* handle) {
  PictureObject* picture = AsPicture(handle, "pluginPictureGraphicsGetter");
  return picture->Constructed() ? new GraphicsObject(picture) : nullptr;
}

// Offered by old runtimes; nothing is settled about what it is given.
void DrawPictureEntry() {}

}  // namespace

void DefineDrawingServices() {
  Define<&GetGraphics>("pluginPictureGraphicsGetter");
  Define<&DrawPictureEntry>("RuntimeGraphicsDrawPicture");
  DefineMethod<&DrawPicture>("Graphics",
                             "DrawPicture(Image as Picture, x as Integer, y as Integer, w as Integer, "
                             "h as Integer, sx as Integer = 0, sy as Integer = 0, sw as Integer = -10000, "
                             "sh as Integer = -10000)");
}

}  // namespace standin
