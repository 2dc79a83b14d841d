#include "registration/plugin_identity.h"

namespace pixmorph {

const char* gpartname = nullptr;
// Nothing reads it back, which must not make it disappear.
__attribute__((used)) const char* gversion = nullptr;

void MyPluginStart(const char* partName, const char* versionStamp) {
  gpartname = partName;
  gversion = versionStamp;
}

void MyPluginEnde() {}

}  // namespace pixmorph
