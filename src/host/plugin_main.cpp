#include "host/entry.h"
#include "host/plugin_entry.h"
#include "host/resolver.h"
#include "host/versions.h"

namespace pixmorph {
namespace {

// The two services of start-up are looked up at every start: nothing but start-up uses them.

// Leaves the version as it is when the runtime cannot tell; a value that is not a number counts as unknown.
void ReadRuntimeVersion() {
  HostService<double()> getVersion("REALGetRBVersion");
  if (!getVersion.Find()) return;
  const double version = getVersion();
  rbversion_rbversion = version == version ? version : 0.0;
}

void ReportControlVersion() {
  HostService<void(std::int32_t)> report("RegisterPluginVersion");
  report(CurrentREALControlVersion);
}

}  // namespace
}  // namespace pixmorph

// What the runtime calls once after loading the library, before anything else. [calls host]
extern "C" HOST_ENTRY_EXPORTED void REALPluginMain(pixmorph::REALResolver resolver);

extern "C" void REALPluginMain(pixmorph::REALResolver resolver) {
  using namespace pixmorph;
  gResolver = resolver;
  ReadRuntimeVersion();
  CurrentREALControlVersion = ControlVersionFor(rbversion_rbversion);
  ReportControlVersion();
  PluginEntry();
}
