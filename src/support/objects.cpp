#include "support/objects.h"

#include <cstdio>
#include <new>

#include "host/services.h"
#include "support/exceptions.h"
#include "support/memory.h"
#include "support/owned.h"
#include "support/owned_string.h"

namespace pixmorph {
namespace {

constexpr long long kMaxMemoryBlockBytes = 0x7FFFFFFE;

// Null for whatever reason, the runtime's memory having run out included.
REALmemoryBlockStruct* TryBuildMemoryblock(void const* data, int size) {
  try {
    auto block = HostRef<REALmemoryBlockStruct>::Adopt(REALNewMemoryBlock(size));
    void* bytes = MyREALMemoryBlockGetPtr(block.Get());
    if (!bytes) return nullptr;
    MoveMemory(bytes, data, static_cast<unsigned int>(size));
    return block.Detach();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

}  // namespace

REALmemoryBlockStruct* REALNewMemoryBlock(long long size) {
  if (size < 0 || size > kMaxMemoryBlockBytes) return nullptr;
  return REALNewMemoryBlockOriginal(static_cast<int>(size));
}

REALmemoryBlockStruct* REALBuildMemoryblock(void const* data, int size) {
  if (!data || size < 1) return nullptr;
  if (REALmemoryBlockStruct* block = TryBuildMemoryblock(data, size)) return block;
  char message[200];
  std::snprintf(message, sizeof message, "Failed to allocate a memoryblock with %lld bytes in size.",
                static_cast<long long>(size));
  RaiseException(kOutOfMemoryException, message, kEncodingASCII);
  return nullptr;
}

bool REALObjectIsA(REALobjectStruct* object, char const* className) {
  if (!object) return false;
  REALclassRefStruct* classRef = REALGetClassRef(className);
  return classRef && HostTrue(REALObjectIsA(object, classRef));
}

bool IsMemoryBlock(REALobjectStruct* object) { return REALObjectIsA(object, "MemoryBlock"); }

bool IsFolderItem(REALobjectStruct* object) {
  return object && REALLoadObjectMethod(object, "TrueItem(Index as integer) as Folderitem");
}

REALstringStruct* GetFolderItemPathWithSystemEncoding(REALfolderItemStruct* item) {
  if (!item) return nullptr;
  const HostString path(REALpathFromFolderItem(item));
  return path ? REALConvertString(path.Get(), REALGetFontEncoding("System")) : nullptr;
}

}  // namespace pixmorph
