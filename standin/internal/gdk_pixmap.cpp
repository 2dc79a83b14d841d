#include "standin/internal/gdk_pixmap.h"

#include <stdexcept>
#include <vector>

#include "standin/display.h"
#include "standin/internal/toolkit.h"

namespace standin {
namespace {

constexpr int kNoDither = 0;

void DrawRgb(void* pixmap, int x, int y, int width, int height, const std::uint8_t* rgb, int rowBytes) {
  const GdkApi& gdk = Gdk();
  void* gc = gdk.gc_new(pixmap);
  gdk.draw_rgb_image(pixmap, gc, x, y, width, height, kNoDither, rgb, rowBytes);
  gdk.object_unref(gc);
}

}  // namespace

void* NewPixmap(int width, int height) {
  EnsureDisplay();
  const GdkApi& gdk = Gdk();
  void* pixmap = gdk.pixmap_new(nullptr, width, height, 24);
  if (pixmap == nullptr) throw std::runtime_error("no pixmap to be had");
  // Pixels are copied out with the drawable's own colormap, which a fresh pixmap lacks.
  gdk.drawable_set_colormap(pixmap, gdk.colormap_get_system());
  const std::vector<std::uint8_t> blackRow(static_cast<std::size_t>(width) * 3);
  DrawRgb(pixmap, 0, 0, width, height, blackRow.data(), 0);
  return pixmap;
}

void FreePixmap(void* pixmap) { Gdk().object_unref(pixmap); }

void WritePixmapRgb(void* pixmap, int width, int height, const std::uint8_t* rgb, int rowBytes) {
  DrawRgb(pixmap, 0, 0, width, height, rgb, rowBytes);
}

void WritePixmap(void* pixmap, int x, int y, int width, int height, const std::uint32_t* pixels) {
  const std::size_t count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  std::vector<std::uint8_t> rgb(count * 3);
  for (std::size_t i = 0; i < count; ++i) {
    rgb[3 * i] = static_cast<std::uint8_t>(pixels[i] >> 16);
    rgb[3 * i + 1] = static_cast<std::uint8_t>(pixels[i] >> 8);
    rgb[3 * i + 2] = static_cast<std::uint8_t>(pixels[i]);
  }
  DrawRgb(pixmap, x, y, width, height, rgb.data(), width * 3);
}

void ReadPixmap(void* pixmap, int width, int height, std::uint32_t* pixels) {
  const GdkApi& gdk = Gdk();
  void* pixbuf = gdk.pixbuf_get_from_drawable(nullptr, pixmap, nullptr, 0, 0, 0, 0, width, height);
  if (pixbuf == nullptr) throw std::runtime_error("a pixmap could not be read back");
  const std::uint8_t* base = gdk.pixbuf_get_pixels(pixbuf);
  const int rowBytes = gdk.pixbuf_get_rowstride(pixbuf);
  for (int y = 0; y < height; ++y) {
    const std::uint8_t* p = base + static_cast<std::ptrdiff_t>(y) * rowBytes;
    for (int x = 0; x < width; ++x, p += 3) {
      *pixels++ = static_cast<std::uint32_t>(p[0] << 16 | p[1] << 8 | p[2]);
    }
  }
  gdk.object_unref(pixbuf);
}

}  // namespace standin
