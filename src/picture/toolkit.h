#ifndef PIXMORPH_PICTURE_TOOLKIT_H_
#define PIXMORPH_PICTURE_TOOLKIT_H_

// cairo, GDK and GTK, bound at run time when a picture first needs them: a console application runs without
// any of the three.
namespace pixmorph {

// Binds cairo. True when all of its functions below are there. The search runs once per process; every later
// call repeats its result.
[[nodiscard]] bool LoadCairo();

// Binds GDK and, where present, GTK. True when the four pixbuf functions that editors call are there. The
// search runs once per process.
[[nodiscard]] bool LoadGTK();

// Functions of the toolkits under their own names with a leading underscore, null until bound. Exported from
// the library under these names; contexts, surfaces, drawables and pixbufs are opaque here.
#define PIXMORPH_TOOLKIT extern "C" __attribute__((visibility("default")))

PIXMORPH_TOOLKIT unsigned char* (*_cairo_image_surface_get_data)(void* surface);
PIXMORPH_TOOLKIT int (*_cairo_image_surface_get_width)(void* surface);
PIXMORPH_TOOLKIT int (*_cairo_image_surface_get_height)(void* surface);
PIXMORPH_TOOLKIT int (*_cairo_image_surface_get_stride)(void* surface);
PIXMORPH_TOOLKIT int (*_cairo_image_surface_get_format)(void* surface);
PIXMORPH_TOOLKIT void* (*_cairo_get_target)(void* context);
PIXMORPH_TOOLKIT void (*_cairo_surface_mark_dirty)(void* surface);

PIXMORPH_TOOLKIT unsigned char* (*_gdk_pixbuf_get_pixels)(const void* pixbuf);
PIXMORPH_TOOLKIT int (*_gdk_pixbuf_get_rowstride)(const void* pixbuf);
PIXMORPH_TOOLKIT void* (*_gdk_pixbuf_get_from_drawable)(void* destination, void* drawable, void* colormap,
                                                        int sourceX, int sourceY, int destinationX,
                                                        int destinationY, int width, int height);
PIXMORPH_TOOLKIT void (*_gdk_pixbuf_unref)(void* pixbuf);
PIXMORPH_TOOLKIT unsigned int (*_gdk_unicode_to_keyval)(unsigned int character);
PIXMORPH_TOOLKIT unsigned int (*_gdk_keyval_to_unicode)(unsigned int keyValue);
PIXMORPH_TOOLKIT void* (*_gdk_pixbuf_new_from_data)(const unsigned char* data, int colorspace, int hasAlpha,
                                                    int bitsPerSample, int width, int height, int rowstride,
                                                    void (*destroy)(unsigned char*, void*),
                                                    void* destroyData);

PIXMORPH_TOOLKIT void* (*_gtk_settings_get_default)();
PIXMORPH_TOOLKIT void (*_g_object_get)(void* object, const char* firstProperty, ...);

#undef PIXMORPH_TOOLKIT

}  // namespace pixmorph

#endif  // PIXMORPH_PICTURE_TOOLKIT_H_
