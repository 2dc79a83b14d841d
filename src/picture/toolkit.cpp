#include "picture/toolkit.h"

#include <dlfcn.h>

#include "host/old_system_symbols.h"

namespace pixmorph {

decltype(_cairo_image_surface_get_data) _cairo_image_surface_get_data;
decltype(_cairo_image_surface_get_width) _cairo_image_surface_get_width;
decltype(_cairo_image_surface_get_height) _cairo_image_surface_get_height;
decltype(_cairo_image_surface_get_stride) _cairo_image_surface_get_stride;
decltype(_cairo_image_surface_get_format) _cairo_image_surface_get_format;
decltype(_cairo_get_target) _cairo_get_target;
decltype(_cairo_surface_mark_dirty) _cairo_surface_mark_dirty;

decltype(_gdk_pixbuf_get_pixels) _gdk_pixbuf_get_pixels;
decltype(_gdk_pixbuf_get_rowstride) _gdk_pixbuf_get_rowstride;
decltype(_gdk_pixbuf_get_from_drawable) _gdk_pixbuf_get_from_drawable;
decltype(_gdk_pixbuf_unref) _gdk_pixbuf_unref;
decltype(_gdk_unicode_to_keyval) _gdk_unicode_to_keyval;
decltype(_gdk_keyval_to_unicode) _gdk_keyval_to_unicode;
decltype(_gdk_pixbuf_new_from_data) _gdk_pixbuf_new_from_data;

decltype(_gtk_settings_get_default) _gtk_settings_get_default;
decltype(_g_object_get) _g_object_get;

namespace {

bool gCairoTried, gCairoLoaded;
bool gGtkTried, gGtkLoaded;

constexpr const char* kCairoNames[] = {"libcairo.so", "libcairo.so.2", "libcairo.so.2.10800.10"};
// The plain names are the development links; the folders serve systems whose loader does not search them.
constexpr const char* kGtkNames[] = {"libgtk-x11-2.0.so",
                                     "libgtk-x11-2.0.so.0",
                                     "/usr/lib/libgtk-x11-2.0.so",
                                     "/usr/lib32/libgtk-x11-2.0.so",
                                     "/usr/lib/libgtk-x11-2.0.so.0",
                                     "/usr/lib32/libgtk-x11-2.0.so.0"};
constexpr const char* kGdkNames[] = {"libgdk-x11-2.0.so",
                                     "libgdk-x11-2.0.so.0",
                                     "/usr/lib/libgdk-x11-2.0.so",
                                     "/usr/lib32/libgdk-x11-2.0.so",
                                     "/usr/lib/libgdk-x11-2.0.so.0",
                                     "/usr/lib32/libgdk-x11-2.0.so.0"};

// The first library that opens; null when none does. Never closed.
template <int kCount>
void* OpenFirst(const char* const (&names)[kCount]) {
  for (const char* name : names) {
    if (void* library = dlopen(name, RTLD_NOW)) return library;
  }
  return nullptr;
}

template <class Function>
void Bind(void* library, const char* name, Function*& function) {
  function = reinterpret_cast<Function*>(dlsym(library, name));
}

void BindCairo(void* cairo) {
  Bind(cairo, "cairo_image_surface_get_data", _cairo_image_surface_get_data);
  Bind(cairo, "cairo_image_surface_get_width", _cairo_image_surface_get_width);
  Bind(cairo, "cairo_image_surface_get_height", _cairo_image_surface_get_height);
  Bind(cairo, "cairo_image_surface_get_stride", _cairo_image_surface_get_stride);
  Bind(cairo, "cairo_image_surface_get_format", _cairo_image_surface_get_format);
  Bind(cairo, "cairo_get_target", _cairo_get_target);
  Bind(cairo, "cairo_surface_mark_dirty", _cairo_surface_mark_dirty);
}

void BindGdk(void* gdk) {
  Bind(gdk, "gdk_pixbuf_get_pixels", _gdk_pixbuf_get_pixels);
  Bind(gdk, "gdk_pixbuf_get_rowstride", _gdk_pixbuf_get_rowstride);
  Bind(gdk, "gdk_pixbuf_get_from_drawable", _gdk_pixbuf_get_from_drawable);
  Bind(gdk, "gdk_pixbuf_unref", _gdk_pixbuf_unref);
  Bind(gdk, "gdk_unicode_to_keyval", _gdk_unicode_to_keyval);
  Bind(gdk, "gdk_keyval_to_unicode", _gdk_keyval_to_unicode);
}

void BindGtk(void* gtk) {
  Bind(gtk, "gtk_settings_get_default", _gtk_settings_get_default);
  Bind(gtk, "g_object_get", _g_object_get);
}

}  // namespace

bool LoadCairo() {
  if (gCairoTried) return gCairoLoaded;
  gCairoTried = true;
  if (void* cairo = OpenFirst(kCairoNames)) BindCairo(cairo);
  gCairoLoaded = _cairo_image_surface_get_data && _cairo_image_surface_get_width &&
                 _cairo_image_surface_get_height && _cairo_image_surface_get_stride &&
                 _cairo_image_surface_get_format && _cairo_get_target && _cairo_surface_mark_dirty;
  return gCairoLoaded;
}

bool LoadGTK() {
  if (gGtkTried) return gGtkLoaded;
  gGtkTried = true;
  void* const gtk = OpenFirst(kGtkNames);
  void* const gdk = OpenFirst(kGdkNames);
  if (gdk) BindGdk(gdk);
  if (gtk) BindGtk(gtk);
  if (gdk) Bind(gdk, "gdk_pixbuf_new_from_data", _gdk_pixbuf_new_from_data);
  gGtkLoaded = _gdk_pixbuf_get_pixels && _gdk_pixbuf_get_rowstride && _gdk_pixbuf_get_from_drawable &&
               _gdk_pixbuf_unref;
  return gGtkLoaded;
}

}  // namespace pixmorph
