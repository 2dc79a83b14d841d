#include <cstdio>
#include <memory>

#include "tools/commands/commands.h"
#include "tools/commands/showcase.h"
#include "tools/failure.h"

namespace tool {
namespace {

struct GalleryArguments {
  std::string folder, badge;
  std::vector<std::string> photos;
  bool brief = false;
};

std::string StemOf(const std::string& path) {
  const std::string name = path.substr(path.rfind('/') + 1);
  return name.substr(0, name.rfind('.'));
}

void RunGallery(const GalleryArguments& arguments, Options options) {
  options.force = true;
  const Session session(options);
  const Image badge = SmallBadge(arguments.badge, ReadImage(arguments.badge), session);
  MakeFolder(arguments.folder);
  std::unique_ptr<Failure> first;
  for (std::size_t i = 0; i < arguments.photos.size(); ++i) {
    const std::string& photo = arguments.photos[i];
    try {
      const Exhibit exhibit = {photo, ReadImage(photo), badge};
      const std::string folder = arguments.folder + "/" + std::to_string(i + 1) + "-" + StemOf(photo);
      MakeFolder(folder);
      Show(exhibit, folder, arguments.brief ? Extent::kBrief : Extent::kFull, options, session);
    } catch (const Failure& failure) {
      // One bad photograph is no reason to keep the others from being shown.
      std::fprintf(stderr, "pixmorph: %s\n", failure.what());
      ReportRow(options, {{"input", photo}}, "error", failure.what());
      if (!first) first = std::make_unique<Failure>(failure);
    }
  }
  if (first) throw Failure(first->Code(), "not every photograph could be shown: see above");
}

}  // namespace

std::function<void()> DefineGallery(Arguments& list, Options& options) {
  auto arguments = std::make_shared<GalleryArguments>();
  list.Positional("FOLDER", &arguments->folder, "where the pictures go; files there are overwritten");
  list.Positionals("PHOTO", &arguments->photos, "PNG or JPEG files");
  list.Text("--badge", "FILE", &arguments->badge, Arguments::Need::kRequired,
            "a small PNG with transparency to draw onto them");
  list.Flag("--brief", &arguments->brief, "each method once, in place of all kernels and radii");
  return [arguments, &options] { RunGallery(*arguments, options); };
}

}  // namespace tool
