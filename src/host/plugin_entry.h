#ifndef PIXMORPH_HOST_PLUGIN_ENTRY_H_
#define PIXMORPH_HOST_PLUGIN_ENTRY_H_

namespace pixmorph {

// Registers everything the plugin offers; called once the runtime's version is known. The one call from here
// up into registration, which implements it. [calls host]
void PluginEntry();

}  // namespace pixmorph

#endif  // PIXMORPH_HOST_PLUGIN_ENTRY_H_
