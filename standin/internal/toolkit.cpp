#include "standin/internal/toolkit.h"

#include <dlfcn.h>

#include <stdexcept>

namespace standin {
namespace {

void* Open(const char* library) {
  if (void* handle = dlopen(library, RTLD_NOW)) return handle;
  throw std::runtime_error(dlerror());
}

template <class F>
void Bind(F& function, void* library, const char* name) {
  function = reinterpret_cast<F>(dlsym(library, name));
  if (function == nullptr) throw std::runtime_error(std::string("missing in the toolkit: ") + name);
}

CairoApi LoadCairoApi() {
  void* library = Open("libcairo.so.2");
  CairoApi api{};
  Bind(api.image_surface_create_for_data, library, "cairo_image_surface_create_for_data");
  Bind(api.surface_status, library, "cairo_surface_status");
  Bind(api.surface_destroy, library, "cairo_surface_destroy");
  Bind(api.create, library, "cairo_create");
  Bind(api.destroy, library, "cairo_destroy");
  return api;
}

GdkApi LoadGdkApi() {
  void* gdk = Open("libgdk-x11-2.0.so.0");
  void* pixbuf = Open("libgdk_pixbuf-2.0.so.0");
  void* gobject = Open("libgobject-2.0.so.0");
  GdkApi api{};
  Bind(api.init_check, gdk, "gdk_init_check");
  Bind(api.pixmap_new, gdk, "gdk_pixmap_new");
  Bind(api.colormap_get_system, gdk, "gdk_colormap_get_system");
  Bind(api.drawable_set_colormap, gdk, "gdk_drawable_set_colormap");
  Bind(api.gc_new, gdk, "gdk_gc_new");
  Bind(api.draw_rgb_image, gdk, "gdk_draw_rgb_image");
  Bind(api.pixbuf_get_from_drawable, gdk, "gdk_pixbuf_get_from_drawable");
  Bind(api.pixbuf_get_pixels, pixbuf, "gdk_pixbuf_get_pixels");
  Bind(api.pixbuf_get_rowstride, pixbuf, "gdk_pixbuf_get_rowstride");
  Bind(api.object_unref, gobject, "g_object_unref");
  return api;
}

}  // namespace

const CairoApi& Cairo() {
  static const CairoApi api = LoadCairoApi();
  return api;
}

const GdkApi& Gdk() {
  static const GdkApi api = LoadGdkApi();
  return api;
}

}  // namespace standin
