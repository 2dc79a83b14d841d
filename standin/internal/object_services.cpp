#include <cstring>

#include "standin/internal/picture_object.h"
#include "standin/internal/service.h"
#include "standin/internal/state.h"

namespace standin {
namespace {

bool ClassExists(const std::string& name) {
  const Config& config = CurrentConfig();
  if (config.missingClasses.count(name) != 0) return false;
  if (name == "Application" || name == "ConsoleApplication" || name == "WebApplication") {
    if (config.applicationClasses) return config.applicationClasses->count(name) != 0;
    return name == (config.mode == Mode::kConsole ? "ConsoleApplication" : "Application");
  }
  return FindClass(name) != nullptr;
}

void LockObject(void* handle) { Objects().Retain(Objects().Live(handle, "REALLockObject"), Holder::kPlugin); }

void UnlockObject(void* handle) {
  Objects().Release(Objects().Live(handle, "REALUnlockObject"), Holder::kPlugin, "REALUnlockObject");
}

// A class reference is the class itself: it is not counted.
const void* ClassReference(const char* name) { return ClassExists(name) ? FindClass(name, true) : nullptr; }

int ObjectIsA(void* handle, const void* classReference) {
  if (handle == nullptr || classReference == nullptr) return HostBoolean(false);
  const Object* object = Objects().Live(handle, "RuntimeObjectIsa");
  return HostBoolean(IsA(object->type, static_cast<const ClassInfo*>(classReference)));
}

void* MakeInstance(const ClassInfo* type) {
  if (StrikesInstance()) return nullptr;
  if (type->name == "Picture") return new PictureObject;
  return new Instance(type);
}

void* NewInstance(const char* className) {
  return ClassExists(className) ? MakeInstance(FindClass(className, true)) : nullptr;
}

void* NewInstanceWithClass(const void* classReference) {
  return classReference == nullptr ? nullptr : MakeInstance(static_cast<const ClassInfo*>(classReference));
}

void* LoadObjectMethod(void* object, const char* declaration) { return FindMethod(object, declaration); }
void* LoadGlobalMethod(void*, const char* declaration) { return FindGlobalMethod(declaration); }

void* NewMemoryBlockService(int size) {
  if (size < 0) return nullptr;
  return new MemoryBlockObject(static_cast<std::size_t>(size));
}
void* MemoryBlockPointer(void* block) {
  return Objects().As<MemoryBlockObject>(block, "memoryBlockGetPtr")->bytes.data();
}
int MemoryBlockSize(void* block) {
  return static_cast<int>(Objects().As<MemoryBlockObject>(block, "memoryBlockGetSize")->bytes.size());
}

void* PathFromFolderItem(void* item) {
  const auto* folder = Objects().As<FolderItemObject>(item, "REALpathFromFolderItem");
  return folder->path.empty() ? nullptr : new StringObject(folder->path, kUtf8);
}
void* TrueItem(void*, int) { return nullptr; }

}  // namespace

void DefineObjectServices() {
  Define<&LockObject>("REALLockObject");
  Define<&UnlockObject>("REALUnlockObject");
  Define<&ClassReference>("pluginObjectType");
  Define<&ObjectIsA>("RuntimeObjectIsa");
  Define<&NewInstance>("PluginNewInstance");
  Define<&NewInstanceWithClass>("CreateInstance");
  Define<&LoadObjectMethod>("REALLoadObjectMethod");
  Define<&LoadGlobalMethod>("REALLoadGlobalMethod");
  Define<&NewMemoryBlockService>("newMemoryBlock");
  Define<&MemoryBlockPointer>("memoryBlockGetPtr");
  Define<&MemoryBlockSize>("memoryBlockGetSize");
  Define<&PathFromFolderItem>("REALpathFromFolderItem");
  DefineMethod<&TrueItem>("FolderItem", "TrueItem(Index as integer) as Folderitem");
}

}  // namespace standin
