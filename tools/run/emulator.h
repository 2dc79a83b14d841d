#ifndef PIXMORPH_TOOLS_RUN_EMULATOR_H_
#define PIXMORPH_TOOLS_RUN_EMULATOR_H_

namespace tool {

// Whether the processor is one that translates instructions in software and tells so; times then say nothing
// about a real one. [pure]
bool RunsOnEmulator();

}  // namespace tool

#endif  // PIXMORPH_TOOLS_RUN_EMULATOR_H_
