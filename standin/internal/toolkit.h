#pragma once

#include <cstdint>
#include <string>

// cairo and GDK 2, opened when they are first needed, so that console programs run on machines without them.
// The prototypes are written by hand over opaque handles; these few functions have not changed since GDK 2.0.
namespace standin {

struct CairoApi {
  void* (*image_surface_create_for_data)(std::uint8_t* data, int format, int width, int height, int stride);
  int (*surface_status)(void* surface);
  void (*surface_destroy)(void* surface);
  void* (*create)(void* surface);
  void (*destroy)(void* context);
};
constexpr int kCairoArgb32 = 0;
constexpr int kCairoRgb24 = 1;

struct GdkApi {
  int (*init_check)(int* argc, char*** argv);
  void* (*pixmap_new)(void* drawable, int width, int height, int depth);
  void* (*colormap_get_system)();
  void (*drawable_set_colormap)(void* drawable, void* colormap);
  void* (*gc_new)(void* drawable);
  void (*draw_rgb_image)(void* drawable, void* gc, int x, int y, int width, int height, int dither,
                         const std::uint8_t* rgb, int rowBytes);
  void* (*pixbuf_get_from_drawable)(void* pixbuf, void* drawable, void* colormap, int sourceX, int sourceY,
                                    int x, int y, int width, int height);
  std::uint8_t* (*pixbuf_get_pixels)(void* pixbuf);
  int (*pixbuf_get_rowstride)(void* pixbuf);
  void (*object_unref)(void* object);
};

// Throw std::runtime_error naming the library or function that is missing.
const CairoApi& Cairo();
const GdkApi& Gdk();

}  // namespace standin
