#include "picture/toolkit.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/fresh_process.h"

// Not under the address sanitizer, which looks up what it replaces through the very functions that are
// replaced here.
#ifndef __SANITIZE_ADDRESS__

// The loaders, with a dynamic loader that the tests stand in for: libraries and functions may be missing.
namespace {

bool gPretend = false;
std::set<std::string> gLibraries;  // those that can be opened
std::set<std::string> gMissing;    // functions that no library has
std::vector<std::string> gAsked;   // names of libraries and functions, in order

template <class Function>
Function* Next(const char* name) {
  // The version that both of them have had from their beginnings on this architecture.
  const bool open = std::string(name) == "dlopen";
  return reinterpret_cast<Function*>(dlvsym(RTLD_NEXT, name, open ? "GLIBC_2.1" : "GLIBC_2.0"));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void* dlopen(const char* name, int mode) noexcept {
  if (!gPretend) return Next<void*(const char*, int)>("dlopen")(name, mode);
  EXPECT_EQ(mode, RTLD_NOW);
  gAsked.push_back(name);
  const auto found = gLibraries.find(name);
  return found == gLibraries.end() ? nullptr : const_cast<std::string*>(&*found);
}

extern "C" __attribute__((visibility("default"))) void* dlsym(void* library, const char* name) noexcept {
  if (!gPretend) return Next<void*(void*, const char*)>("dlsym")(library, name);
  gAsked.push_back(*static_cast<std::string*>(library) + " " + name);
  return gMissing.count(name) ? nullptr : library;
}

namespace {

using Names = std::vector<std::string>;

// A search: the libraries tried and the functions asked of one of them, in order.
Names operator+(Names all, const Names& more) {
  all.insert(all.end(), more.begin(), more.end());
  return all;
}
Names Of(const std::string& library, Names functions) {
  for (auto& name : functions) name = library + " " + name;
  return functions;
}

// Whether the loader succeeds, in a fresh process; it is asked twice and searches once.
void ExpectLoad(bool (*load)(), bool expected, const Names& asked, const char* what) {
  const auto body = [&] {
    gPretend = true;
    gAsked.clear();
    EXPECT_EQ(load(), expected);
    EXPECT_EQ(gAsked, asked);
    gMissing.clear();
    gLibraries.insert("libcairo.so");
    EXPECT_EQ(load(), expected);
    EXPECT_EQ(gAsked, asked);
    gPretend = false;
  };
  EXPECT_TRUE(test::PassesInChild(body)) << what;
}

const Names kCairo = {"cairo_image_surface_get_data",   "cairo_image_surface_get_width",
                      "cairo_image_surface_get_height", "cairo_image_surface_get_stride",
                      "cairo_image_surface_get_format", "cairo_get_target",
                      "cairo_surface_mark_dirty"};
const Names kGdk = {"gdk_pixbuf_get_pixels", "gdk_pixbuf_get_rowstride", "gdk_pixbuf_get_from_drawable",
                    "gdk_pixbuf_unref",      "gdk_unicode_to_keyval",    "gdk_keyval_to_unicode"};

TEST(Toolkit, CairoIsSearchedOnceAndNeedsAllSeven) {
  const Names names = {"libcairo.so", "libcairo.so.2", "libcairo.so.2.10800.10"};
  ExpectLoad(&pixmorph::LoadCairo, false, names, "no cairo");
  Names tried;
  for (const auto& name : names) {
    gLibraries = {name, names.back()};
    tried.push_back(name);
    ExpectLoad(&pixmorph::LoadCairo, true, tried + Of(name, kCairo), name.c_str());
  }
  for (const auto& function : kCairo) {
    gMissing = {function};
    ExpectLoad(&pixmorph::LoadCairo, false, names + Of(names.back(), kCairo), function.c_str());
  }
  gMissing.clear();
  gLibraries.clear();
}

Names Places(const std::string& library) {
  const std::string name = "lib" + library + "-x11-2.0.so", old = name + ".0";
  return {name, old, "/usr/lib/" + name, "/usr/lib32/" + name, "/usr/lib/" + old, "/usr/lib32/" + old};
}

TEST(Toolkit, GdkIsEnoughAndGtkIsOptional) {
  const auto gtk = Places("gtk"), gdk = Places("gdk");
  ExpectLoad(&pixmorph::LoadGTK, false, gtk + gdk, "neither");

  const std::string last = gdk.back();
  const Names data = {"gdk_pixbuf_new_from_data"};
  gLibraries = {last};
  for (const auto& function : kGdk + Names{"nothing"}) {
    gMissing = {function};
    const bool needed = function.rfind("gdk_pixbuf", 0) == 0;
    ExpectLoad(&pixmorph::LoadGTK, !needed, gtk + gdk + Of(last, kGdk + data), function.c_str());
  }
  gMissing.clear();

  gLibraries = {gtk[1], gdk[0]};
  const auto both =
      Of(gdk[0], kGdk) + Of(gtk[1], {"gtk_settings_get_default", "g_object_get"}) + Of(gdk[0], data);
  ExpectLoad(&pixmorph::LoadGTK, true, Names{gtk[0], gtk[1], gdk[0]} + both, "both");
  gLibraries.clear();
}

}  // namespace

#endif  // __SANITIZE_ADDRESS__
