#ifndef PIXMORPH_HOST_ENTRY_H_
#define PIXMORPH_HOST_ENTRY_H_

// In front of every function the runtime calls. A 32-bit runtime may call with a stack aligned to 4 bytes
// only; without realignment, spilled SSE2 registers would fault on three of four alignments.
#define HOST_ENTRY __attribute__((visibility("hidden"), force_align_arg_pointer))

// The same for the entry that the runtime finds by name.
#define HOST_ENTRY_EXPORTED __attribute__((visibility("default"), used, force_align_arg_pointer))

#endif  // PIXMORPH_HOST_ENTRY_H_
