#ifndef PIXMORPH_REGISTRATION_PICTURE_EXTENSION_H_
#define PIXMORPH_REGISTRATION_PICTURE_EXTENSION_H_

#include "host/types.h"

namespace pixmorph {

// The extension of the runtime's class Picture with the plugin's five methods: static records in the current
// layout, with the plugin's own flags, written anew so that a second start in one process begins afresh. They
// are changed in place by registration and kept by the runtime.
REALclassDefinition* RenewPictureExtension();

}  // namespace pixmorph

#endif  // PIXMORPH_REGISTRATION_PICTURE_EXTENSION_H_
