#ifndef PIXMORPH_SUPPORT_OBJECTS_H_
#define PIXMORPH_SUPPORT_OBJECTS_H_

#include "host/types.h"

// Runtime memory blocks and tests of runtime objects. [calls host]
namespace pixmorph {

// A new memory block of `size` bytes with one reference for the caller; null when `size` is negative or above
// 0x7FFFFFFE, or when the runtime makes none.
REALmemoryBlockStruct* REALNewMemoryBlock(long long size);

// The same with a copy of `size` bytes from `data`. Null without further ado for null data or a size below 1;
// for every other failure OutOfMemoryException is raised as well.
REALmemoryBlockStruct* REALBuildMemoryblock(void const* data, int size);

// Whether `object` is of the class; false for nil or an unknown class.
bool REALObjectIsA(REALobjectStruct* object, char const* className);
bool IsMemoryBlock(REALobjectStruct* object);
bool IsFolderItem(REALobjectStruct* object);

// The item's path in the encoding of the system's font, one reference for the caller; null without item or
// path.
REALstringStruct* GetFolderItemPathWithSystemEncoding(REALfolderItemStruct* item);

}  // namespace pixmorph

#endif  // PIXMORPH_SUPPORT_OBJECTS_H_
