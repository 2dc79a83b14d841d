#ifndef PIXMORPH_HOST_VERSIONS_H_
#define PIXMORPH_HOST_VERSIONS_H_

#include <cstdint>

// The runtime's version and every threshold that a decision of the plugin depends on.
namespace pixmorph {

// Such as 2013.04; 0.0 while unknown, which takes the oldest branch everywhere. Set once at start-up.
extern double rbversion_rbversion;
// Layout version of registration records, 9 to 13. Set once at start-up.
extern std::int32_t CurrentREALControlVersion;

// A version at or above a threshold takes the newer branch.
constexpr double kVersionConsoleFlags = 2010.029;       // console flags have host counterparts
constexpr double kVersionAlphaPictures = 2011.04;       // Picture has a constructor for alpha pictures
constexpr double kVersionControl10 = 2012.0;            // record layout 10, all rows in full
constexpr double kVersionEncodedStrings = 2012.0;       // strings are built with their encoding
constexpr double kVersionDrawMethodOnly = 2012.0;       // no separate drawing entry any more
constexpr double kVersionRefusedLockIsNoLock = 2012.0;  // before: unlock after a refused lock
constexpr double kVersionControl11 = 2013.0;
constexpr double kVersionModuleRewrite = 2013.0;  // extensions become modules of `extends` methods ...
constexpr double kVersionControl12 = 2013.03;
constexpr double kVersionControl13 = 2013.04;
constexpr double kVersionModuleRewriteEnd = 3000.0;  // ... up to here

constexpr std::int32_t kOldestControlVersion = 9;  // the only one with the old, shorter layouts
constexpr std::int32_t kNewestControlVersion = 13;

// Whether the runtime is at or above `threshold`; false while its version is unknown. [pure]
inline bool RuntimeAtLeast(double threshold) { return rbversion_rbversion >= threshold; }

// The record-layout version that goes with a runtime version. [pure]
std::int32_t ControlVersionFor(double runtimeVersion);

}  // namespace pixmorph

#endif  // PIXMORPH_HOST_VERSIONS_H_
