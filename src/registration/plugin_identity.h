#ifndef PIXMORPH_REGISTRATION_PLUGIN_IDENTITY_H_
#define PIXMORPH_REGISTRATION_PLUGIN_IDENTITY_H_

namespace pixmorph {

// The plugin's part name, used in the names of generated modules, and its version stamp, which is there to be
// found in the library file. Null before `MyPluginStart`; the texts live as long as the process.
extern const char* gpartname;
extern const char* gversion;

void MyPluginStart(const char* partName, const char* versionStamp);
// The end of start-up; nothing is left to do.
void MyPluginEnde();

}  // namespace pixmorph

#endif  // PIXMORPH_REGISTRATION_PLUGIN_IDENTITY_H_
