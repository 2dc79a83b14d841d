#ifndef PIXMORPH_REGISTRATION_MODULE_FORM_H_
#define PIXMORPH_REGISTRATION_MODULE_FORM_H_

#include "host/types.h"

// Modules made of what runtimes from 2013.0 to below 3000.0 do not take in its own form. Each is made to be
// kept by the runtime for good, with its name, rows and declarations. Null when memory is short or there is
// nothing to register.
namespace pixmorph {

// The methods of a class extension as methods that extend the class; named after class and plugin.
[[nodiscard]] REALmoduleDefinition* ModuleOfExtension(const REALclassDefinition& extension);

// Global methods; named after the plugin.
[[nodiscard]] REALmoduleDefinition* ModuleOfMethods(const REALmethodDefinition* methods, int count);

}  // namespace pixmorph

#endif  // PIXMORPH_REGISTRATION_MODULE_FORM_H_
