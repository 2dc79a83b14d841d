#include <memory>

#include "tools/commands/commands.h"
#include "tools/commands/showcase.h"
#include "tools/images/generated.h"

namespace tool {
namespace {

constexpr Size kPhotoSize{600, 400};
constexpr std::int32_t kBadgeSide = 96;

struct DemoArguments {
  std::string folder, picture, badge;
  bool full = false;
};

void RunDemo(const DemoArguments& arguments, const Options& options) {
  const Session session(options);
  Exhibit exhibit{"a generated picture", {}, GeneratedBadge(kBadgeSide)};
  if (!arguments.badge.empty())
    exhibit.badge = SmallBadge(arguments.badge, ReadImage(arguments.badge), session);
  if (!arguments.picture.empty()) exhibit.name = arguments.picture;
  exhibit.original = arguments.picture.empty() ? GeneratedPhoto(kPhotoSize) : ReadImage(arguments.picture);
  MakeFolder(arguments.folder);
  Show(exhibit, arguments.folder, arguments.full ? Extent::kFull : Extent::kBrief, options, session);
}

}  // namespace

std::function<void()> DefineDemo(Arguments& list, Options& options) {
  auto arguments = std::make_shared<DemoArguments>();
  list.Positional("FOLDER", &arguments->folder, "where the pictures go; made when it isn't there");
  list.OptionalPositional("PICTURE", &arguments->picture, "a PNG or JPEG file (default: one made up here)");
  list.Text("--badge", "FILE", &arguments->badge, Arguments::Need::kOptional,
            "a small PNG with transparency to draw onto it (default: one made up here)");
  list.Flag("--full", &arguments->full, "all kernels, several radii and opacities");
  return [arguments, &options] { RunDemo(*arguments, options); };
}

}  // namespace tool
