#include "host/plugin_entry.h"

#include "registration/flags.h"
#include "registration/picture_extension.h"
#include "registration/plugin_identity.h"
#include "registration/register.h"

namespace pixmorph {

void PluginEntry() {
  MyPluginStart("Pixmorph", "$$ Plugin version: 15.1 (2015) $$");
  REALclassDefinition* extension = RenewPictureExtension();
  FixConsoleFlags(extension);
  MyREALRegisterClassExtension(extension);
  MyPluginEnde();
}

}  // namespace pixmorph
