#include "host/entry.h"
#include "host/plugin_entry.h"
#include "host/service_slots.h"
#include "host/versions.h"

namespace pixmorph {
namespace {

// Leaves the version as it is when the runtime cannot tell; a value that is not a number says nothing either.
void ReadRuntimeVersion() {
  if (!slots::GetRBVersion.Find()) return;
  const double version = slots::GetRBVersion();
  rbversion_rbversion = version == version ? version : 0.0;
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
  slots::RegisterPluginVersion(CurrentREALControlVersion);
  PluginEntry();
}
