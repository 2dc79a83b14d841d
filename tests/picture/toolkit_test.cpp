#include "picture/toolkit.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "tests/support/fresh_process.h"

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

std::vector<std::string> Bound(const std::string& library, const std::vector<std::string>& names) {
  std::vector<std::string> bound;
  for (const auto& name : names) bound.push_back(library + " " + name);
  return bound;
}

void Append(std::vector<std::string>* all, const std::vector<std::string>& more) {
  all->insert(all->end(), more.begin(), more.end());
}

// Whether the loader succeeds, in a fresh process; it is asked twice and searches once.
void ExpectLoad(bool (*load)(), bool expected, const std::vector<std::string>& asked, const char* what) {
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

const std::vector<std::string> kCairo = {"cairo_image_surface_get_data",   "cairo_image_surface_get_width",
                                         "cairo_image_surface_get_height", "cairo_image_surface_get_stride",
                                         "cairo_image_surface_get_format", "cairo_get_target",
                                         "cairo_surface_mark_dirty"};
const std::vector<std::string> kGdk = {"gdk_pixbuf_get_pixels",        "gdk_pixbuf_get_rowstride",
                                       "gdk_pixbuf_get_from_drawable", "gdk_pixbuf_unref",
                                       "gdk_unicode_to_keyval",        "gdk_keyval_to_unicode"};

TEST(Toolkit, CairoIsSearchedOnceAndNeedsAllSeven) {
  const std::vector<std::string> names = {"libcairo.so", "libcairo.so.2", "libcairo.so.2.10800.10"};
  ExpectLoad(&pixmorph::LoadCairo, false, names, "no cairo");
  for (std::size_t i = 0; i < names.size(); ++i) {
    gLibraries = {names.begin() + static_cast<std::ptrdiff_t>(i), names.end()};
    std::vector<std::string> asked(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(i) + 1);
    Append(&asked, Bound(names[i], kCairo));
    ExpectLoad(&pixmorph::LoadCairo, true, asked, names[i].c_str());
    for (const auto& function : kCairo) {
      gMissing = {function};
      ExpectLoad(&pixmorph::LoadCairo, false, asked, function.c_str());
    }
    gMissing.clear();
  }
  gLibraries.clear();
}

std::vector<std::string> Places(const std::string& library) {
  const std::string name = "lib" + library + "-x11-2.0.so";
  return {name,
          name + ".0",
          "/usr/lib/" + name,
          "/usr/lib32/" + name,
          "/usr/lib/" + name + ".0",
          "/usr/lib32/" + name + ".0"};
}

TEST(Toolkit, GdkIsEnoughAndGtkIsOptional) {
  const auto gtk = Places("gtk"), gdk = Places("gdk");
  std::vector<std::string> nothing = gtk;
  Append(&nothing, gdk);
  ExpectLoad(&pixmorph::LoadGTK, false, nothing, "neither");

  const std::string last = gdk.back();
  gLibraries = {last};
  std::vector<std::string> asked = nothing;
  Append(&asked, Bound(last, kGdk));
  Append(&asked, {last + " gdk_pixbuf_new_from_data"});
  ExpectLoad(&pixmorph::LoadGTK, true, asked, "no GTK");
  for (const auto& function : kGdk) {
    gMissing = {function};
    const bool needed = function.rfind("gdk_pixbuf", 0) == 0;
    ExpectLoad(&pixmorph::LoadGTK, !needed, asked, function.c_str());
  }
  gMissing.clear();

  gLibraries = {gtk[1], gdk[0]};
  asked = {gtk[0], gtk[1], gdk[0]};
  Append(&asked, Bound(gdk[0], kGdk));
  Append(&asked, Bound(gtk[1], {"gtk_settings_get_default", "g_object_get"}));
  Append(&asked, Bound(gdk[0], {"gdk_pixbuf_new_from_data"}));
  ExpectLoad(&pixmorph::LoadGTK, true, asked, "both");

  gLibraries = {gtk[0]};
  asked = {gtk[0]};
  Append(&asked, gdk);
  Append(&asked, Bound(gtk[0], {"gtk_settings_get_default", "g_object_get"}));
  ExpectLoad(&pixmorph::LoadGTK, false, asked, "GTK alone");
  gLibraries.clear();
}

TEST(Toolkit, BindsTheRealLibraries) {
  const auto body = [] {
    EXPECT_EQ(pixmorph::_cairo_surface_mark_dirty, nullptr);
    ASSERT_TRUE(pixmorph::LoadCairo());
    ASSERT_TRUE(pixmorph::LoadGTK());
    EXPECT_NE(pixmorph::_gdk_pixbuf_new_from_data, nullptr);
    EXPECT_NE(pixmorph::_g_object_get, nullptr);
    EXPECT_NE(pixmorph::_gtk_settings_get_default, nullptr);
    EXPECT_EQ(pixmorph::_gdk_keyval_to_unicode(pixmorph::_gdk_unicode_to_keyval(0x20AC)), 0x20ACu);
  };
  EXPECT_TRUE(test::PassesInChild(body));
}

}  // namespace
