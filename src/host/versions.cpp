#include "host/versions.h"

namespace pixmorph {

double rbversion_rbversion = 0.0;
std::int32_t CurrentREALControlVersion = kNewestControlVersion;

std::int32_t ControlVersionFor(double runtimeVersion) {
  if (runtimeVersion >= kVersionControl13) return 13;
  if (runtimeVersion >= kVersionControl12) return 12;
  if (runtimeVersion >= kVersionControl11) return 11;
  if (runtimeVersion >= kVersionControl10) return 10;
  return kOldestControlVersion;
}

}  // namespace pixmorph
