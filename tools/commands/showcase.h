#ifndef PIXMORPH_TOOLS_COMMANDS_SHOWCASE_H_
#define PIXMORPH_TOOLS_COMMANDS_SHOWCASE_H_

#include <functional>
#include <string>

#include "tools/run/job.h"

namespace tool {

// A picture and a badge to draw onto it, with the name that the reports give the picture.
struct Exhibit {
  std::string name;
  Image original;
  Image badge;
};

// Each method once, or with all kernels, several radii and opacities.
enum class Extent { kBrief, kFull };

// Puts an exhibit through all methods. The pictures go into the folder; each run is reported as its own.
void Show(const Exhibit& exhibit, const std::string& folder, Extent extent, const Options& options,
          const Session& session);

// The badge at a size that leaves the picture visible. `name` is for the sentence of a Failure (kMethod).
Image SmallBadge(const std::string& name, const Image& badge, const Session& session);

// The folder may be there already. Throws Failure (kOutput).
void MakeFolder(const std::string& path);

// A row of the JSON report that stands for no picture; nothing without --json.
void ReportRow(const Options& options, Fields row, const char* key, const char* sentence);

}  // namespace tool

#endif  // PIXMORPH_TOOLS_COMMANDS_SHOWCASE_H_
