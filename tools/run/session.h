#ifndef PIXMORPH_TOOLS_RUN_SESSION_H_
#define PIXMORPH_TOOLS_RUN_SESSION_H_

#include <memory>
#include <string>

#include "standin/display.h"
#include "standin/objects.h"
#include "tools/images/image.h"
#include "tools/run/options.h"

namespace tool {

// The built library in a runtime of our own: it is loaded and started as a real runtime would, through its
// one entry. One per process.
class Session {
 public:
  // Throws Failure: kLibrary when the library can't be had, kMode when the mode can't.
  explicit Session(const Options& options);

  const std::string& LibraryPath() const { return library_; }

  // A picture of the mode's usual kind with the image's colours. What the alpha channel becomes is the
  // caller's choice. Throws Failure (kMode, kMemory).
  enum class Alpha { kDropped, kMask, kChannel };
  standin::Ref MakePicture(const Image& image, Alpha alpha) const;

  // A mask (black shows, white hides) from the brightness of an image.
  standin::Ref MakeMask(const Image& image) const;

 private:
  void ChooseDisplay();

  standin::Mode mode_;
  std::string library_;
  std::unique_ptr<standin::OwnDisplay> display_;
};

// The file that --library names, or the first of the usual places beside the executable. Throws Failure
// (kLibrary).
std::string FindLibrary(const std::string& named);

// Throws Failure (kLibrary) when the loaded plugin has not registered a method of that name.
void RequireMethod(const std::string& method, const Session& session);

// A picture's pixels. Its mask, or with `ownAlpha` the channel of a picture that has one, becomes the alpha
// channel.
Image TakeImage(const standin::Ref& picture, bool ownAlpha);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_RUN_SESSION_H_
