#ifndef PIXMORPH_SUPPORT_MEMORY_H_
#define PIXMORPH_SUPPORT_MEMORY_H_

#include <cstdint>

namespace pixmorph {

// The allocation pair of every algorithm. Zero-filled C-library memory of `size` bytes, owned by the caller;
// null when `size` is outside 1 .. 0x7FFFFFFF or memory is short. Prefer `WorkBuffer` (owned.h).
void* AllocateClearMemory(long long size);
// Releases a block from `AllocateClearMemory`; null is allowed.
void FreeMemoryNow(void const* block);

// `realloc` of `block` with the low 32 bits of `size`.
void* ReallocateMemory(void* block, long long size);
// Copies `count` bytes; the areas may overlap.
void MoveMemory(void* to, void const* from, unsigned int count);
// Sets `count` bytes to `value`.
void FillMemory(void* block, unsigned char value, unsigned int count);
// Sets `count` bytes to 0.
void ClearMemory(void* block, unsigned int count);

// A handle is the address of a block whose first 32-bit word holds the data size in bytes, the data follows.
// The caller owns it and gives it back with `freeHandle`.

// A zero-filled handle of `size` data bytes; null when `size` is negative, above 0x7FFFFFFF or memory is short.
char** allocateHandle(long long size);
// The data size in bytes; 0 for null.
int getHandleSize(char** handle);
// The address of the data; null for null.
char* lockHandle(char** handle);
// Does nothing: handles do not move while in use.
void unlockHandle(char** handle);
// The handle resized, its old address no longer valid. A size that is negative or above 0x7FFFFFF0 frees the
// handle and gives null; when memory is short the result is null and the old handle stays valid.
char** resizeHandle(char** handle, long long size);
void freeHandle(char** handle);

}  // namespace pixmorph

#endif  // PIXMORPH_SUPPORT_MEMORY_H_
