#include "tools/run/session.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "standin/picture.h"
#include "standin/registrations.h"
#include "standin/runtime.h"
#include "tools/failure.h"

namespace tool {
namespace {

constexpr const char* kLibraryName = "libpixmorph.so";

std::string ExecutableFolder() {
  char path[PATH_MAX];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  if (length <= 0) return ".";
  const std::string whole(path, static_cast<std::size_t>(length));
  return whole.substr(0, whole.rfind('/'));
}

bool IsReadable(const std::string& path) { return access(path.c_str(), R_OK) == 0; }

[[noreturn]] void ModeFailure(standin::Mode mode, const std::string& reason) {
  throw Failure(Exit::kMode, std::string("the ") + NameOf(mode) + " mode can't be had here (" + reason +
                                 "): install what is missing, or take --mode console");
}

// Red, green and blue weighed as the eye does, in thousandths.
std::uint32_t Brightness(std::uint32_t pixel) {
  return ((pixel >> 16 & 0xFF) * 299 + (pixel >> 8 & 0xFF) * 587 + (pixel & 0xFF) * 114 + 500) / 1000;
}

constexpr std::uint32_t kOpaque = 0xFF000000;
std::uint32_t Grey(std::uint32_t value) { return kOpaque | value << 16 | value << 8 | value; }

standin::Ref NewPicture(standin::Mode mode, const Size& size, bool alpha) {
  try {
    return alpha ? standin::NewAlphaPicture(size.width, size.height)
                 : standin::NewPicture(size.width, size.height);
  } catch (const std::runtime_error& error) {
    ModeFailure(mode, error.what());
  }
}

standin::Ref PictureOf(standin::Mode mode, const Size& size, const std::vector<std::uint32_t>& pixels) {
  standin::Ref picture = NewPicture(mode, size, false);
  standin::SetPixels(picture, pixels);
  return picture;
}

}  // namespace

const char* NameOf(standin::Mode mode) {
  return mode == standin::Mode::kConsole ? "console" : mode == standin::Mode::kCairo ? "cairo" : "gdk";
}

std::string FindLibrary(const std::string& named) {
  if (!named.empty()) {
    if (!IsReadable(named))
      throw Failure(Exit::kLibrary, "can't read the plugin library \"" + named + "\": check --library");
    // A bare name would make the loader search its own folders.
    return named.find('/') == named.npos ? "./" + named : named;
  }
  const std::string folder = ExecutableFolder();
  for (const char* place : {"/", "/../lib/pixmorph/", "/../lib/"}) {
    const std::string path = folder + place + kLibraryName;
    if (IsReadable(path)) return path;
  }
  throw Failure(Exit::kLibrary, std::string("can't find ") + kLibraryName + " beside this program in " +
                                    folder + ": build it, or name it with --library");
}

Session::Session(const Options& options) : mode_(options.mode), library_(FindLibrary(options.library)) {
  standin::Config config;
  config.version = options.hostVersion;
  config.mode = options.mode;
  standin::Start(config);
  if (mode_ == standin::Mode::kGdk) ChooseDisplay();
  try {
    standin::LoadPlugin(library_);
  } catch (const std::runtime_error& error) {
    throw Failure(Exit::kLibrary, "can't load the plugin library (" + std::string(error.what()) +
                                      "): check that it is a 32-bit build");
  }
}

void Session::ChooseDisplay() {
  try {
    if (!std::getenv("DISPLAY")) display_ = std::make_unique<standin::OwnDisplay>();
    standin::EnsureDisplay();
  } catch (const std::runtime_error& error) {
    ModeFailure(mode_, error.what());
  }
}

standin::Ref Session::MakePicture(const Image& image, Alpha alpha) const {
  if (alpha == Alpha::kChannel && image.hasAlpha) {
    standin::Ref picture = NewPicture(mode_, image.size, true);
    standin::SetPixels(picture, image.pixels);
    return picture;
  }
  standin::Ref picture = PictureOf(mode_, image.size, image.pixels);
  if (alpha == Alpha::kMask && image.hasAlpha) {
    std::vector<std::uint32_t> hidden(image.PixelCount());
    std::transform(image.pixels.begin(), image.pixels.end(), hidden.begin(),
                   [](std::uint32_t pixel) { return Grey(255 - (pixel >> 24)); });
    standin::SetMask(picture, PictureOf(mode_, image.size, hidden));
  }
  return picture;
}

standin::Ref Session::MakeMask(const Image& image) const {
  std::vector<std::uint32_t> grey(image.PixelCount());
  std::transform(image.pixels.begin(), image.pixels.end(), grey.begin(),
                 [](std::uint32_t pixel) { return Grey(Brightness(pixel)); });
  return PictureOf(mode_, image.size, grey);
}

void RequireMethod(const std::string& method, const Session& session) {
  if (standin::FindPictureMethod(method)) return;
  throw Failure(Exit::kLibrary, "the library \"" + session.LibraryPath() + "\" registered no method " +
                                    method +
                                    ": name another one with --library, or leave --host-version out");
}

Image TakeImage(const standin::Ref& picture, bool ownAlpha) {
  Image image;
  image.size = {standin::Width(picture), standin::Height(picture)};
  image.pixels = standin::GetPixels(picture);
  const standin::Ref mask = standin::MaskOf(picture);
  const bool maskFits =
      mask && standin::Width(mask) == image.size.width && standin::Height(mask) == image.size.height;
  if (maskFits) {
    image.hasAlpha = true;
    const std::vector<std::uint32_t> hidden = standin::GetPixels(mask);
    std::transform(image.pixels.begin(), image.pixels.end(), hidden.begin(), image.pixels.begin(),
                   [](std::uint32_t pixel, std::uint32_t h) {
                     return (pixel & ~kOpaque) | (255 - (h >> 16 & 0xFF)) << 24;
                   });
  } else if (ownAlpha && standin::HasAlpha(picture)) {
    image.hasAlpha = true;
  } else {
    for (std::uint32_t& pixel : image.pixels) pixel |= kOpaque;
  }
  return image;
}

}  // namespace tool
