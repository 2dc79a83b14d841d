#ifndef PIXMORPH_REGISTRATION_REGISTER_H_
#define PIXMORPH_REGISTRATION_REGISTER_H_

#include "host/types.h"

// Registration of records in the current layout, in the layout and form that the running runtime takes.
// Records are changed in place and kept by the runtime, and so is everything allocated for it; nothing is
// reported, and nothing is registered when memory is short. [calls host]
namespace pixmorph {

// Record layout 9 gets the old layouts (old_layout.h). Class and control instances are enlarged to a multiple
// of 16 bytes.
void MyREALRegisterModule(REALmoduleDefinition* record);
void MyREALRegisterClass(REALclassDefinition* record);
void MyREALRegisterInterface(REALinterfaceDefinition* record);
void MyREALRegisterControl(REALcontrol* record);
void MyREALRegisterMethod(REALmethodDefinition* record);

// As a class extension, or, from 2013.0 to below 3000.0, as a module of methods that extend the class
// (module_form.h).
void MyREALRegisterClassExtension(REALclassDefinition* record);

// Each method by itself, or, in the same range of versions, as a module.
void MyREALRegisterMethodArray(REALmethodDefinition* methods, int count);

}  // namespace pixmorph

#endif  // PIXMORPH_REGISTRATION_REGISTER_H_
