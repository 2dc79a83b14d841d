#include "standin/internal/object.h"

#include <memory>

#include "standin/ledger.h"

namespace standin {
namespace {

std::string Describe(const Object& object) {
  return object.type->name + " #" + std::to_string(object.serial) + " (references: plugin " +
         std::to_string(object.PluginReferences()) + ", test " + std::to_string(object.testReferences) +
         ", runtime " + std::to_string(object.runtimeReferences) + "; locks " +
         std::to_string(object.lockCount) + ")";
}

int* CountOf(Object* object, Holder holder) {
  if (holder == Holder::kTest) return &object->testReferences;
  if (holder == Holder::kRuntime) return &object->runtimeReferences;
  return nullptr;
}

const char* NameOf(Holder holder) {
  if (holder == Holder::kTest) return "the test";
  return holder == Holder::kRuntime ? "the runtime" : "the plugin";
}

struct KnownClass {
  const char* name;
  const char* parent;
};
constexpr KnownClass kKnownClasses[] = {
    {"Object", nullptr},
    {"String", nullptr},
    {"Picture", "Object"},
    {"Graphics", "Object"},
    {"MemoryBlock", "Object"},
    {"FolderItem", "Object"},
    {"Array", "Object"},
    {"RuntimeException", "Object"},
    {"NilObjectException", "RuntimeException"},
    {"OutOfMemoryException", "RuntimeException"},
    {"OutOfBoundsException", "RuntimeException"},
    {"UnsupportedOperationException", "RuntimeException"},
};

using ClassTable = std::unordered_map<std::string, std::unique_ptr<ClassInfo>>;

ClassTable MakeClasses() {
  ClassTable table;
  for (const KnownClass& known : kKnownClasses) {
    const ClassInfo* parent = known.parent == nullptr ? nullptr : table.at(known.parent).get();
    table.emplace(known.name, new ClassInfo{known.name, parent});
  }
  return table;
}

}  // namespace

const ClassInfo* FindClass(const std::string& name, bool create) {
  static ClassTable& table = *new ClassTable(MakeClasses());
  const auto found = table.find(name);
  if (found != table.end()) return found->second.get();
  if (!create) return nullptr;
  return table.emplace(name, new ClassInfo{name, table.at("Object").get()}).first->second.get();
}

bool IsA(const ClassInfo* derived, const ClassInfo* base) {
  for (; derived != nullptr; derived = derived->parent) {
    if (derived == base) return true;
  }
  return false;
}

Object::Object(const ClassInfo* objectType) : type(objectType), serial(++Objects().serial_) {
  Objects().Add(this);
}

Registry& Objects() {
  static Registry& registry = *new Registry;
  return registry;
}

Object* Registry::Live(const void* handle, const char* user) const {
  if (handle == nullptr) StopRun(std::string(user) + " was given nil");
  if (known_.count(handle) == 0) {
    StopRun(std::string(user) + " was given a handle that the runtime never handed out");
  }
  auto* object = static_cast<Object*>(const_cast<void*>(handle));
  if (!object->live) StopRun(std::string(user) + " was given a released object: " + Describe(*object));
  return object;
}

void Registry::WrongClass(const void* handle, const char* user) const {
  StopRun(std::string(user) + " was given an object of another class: " + Describe(*Live(handle, user)));
}

void Registry::Retain(Object* object, Holder holder) {
  ++object->references;
  if (int* count = CountOf(object, holder)) ++*count;
}

void Registry::Release(Object* object, Holder holder, const char* user) {
  int* count = CountOf(object, holder);
  if ((count != nullptr ? *count : object->PluginReferences()) < 1) {
    StopRun(std::string(user) + ": " + NameOf(holder) +
            " released a reference that it does not hold: " + Describe(*object));
  }
  if (count != nullptr) --*count;
  if (--object->references > 0) return;
  if (object->lockCount != 0) StopRun(std::string(user) + " released a locked picture: " + Describe(*object));
  object->live = false;
  object->Dispose();
}

void Registry::Transfer(Object* object, Holder from, Holder to, const char* user) {
  Retain(object, to);
  Release(object, from, user);
}

void Registry::Add(Object* object) {
  if (objects_.size() >= pruneAt_) Prune();
  objects_.push_back(object);
  known_.insert(object);
}

void Registry::Prune() {
  std::vector<Object*> live;
  for (Object* object : objects_) (object->live ? live : dead_).push_back(object);
  objects_.swap(live);
  pruneAt_ = 2 * objects_.size() + 256;
}

void Registry::Forget() {
  for (Object* object : objects_) {
    if (!object->live) continue;
    object->live = false;
    object->references = object->testReferences = object->runtimeReferences = object->lockCount = 0;
  }
  // Shells are kept: what dies here may still be named by the plugin, which then is told so.
  for (Object* object : objects_) object->Dispose();
  Prune();
  ++epoch_;
}

void Kept::Set(Object* object) {
  Object* previous = object_;
  if (object != nullptr) Objects().Retain(object, Holder::kRuntime);
  object_ = object;
  // After Forget the other object may be gone already.
  if (previous != nullptr && previous->live) {
    Objects().Release(previous, Holder::kRuntime, "the runtime");
  }
}

StringObject::StringObject(std::string text, std::uint32_t code)
    : Object(FindClass("String")), bytes(std::move(text)), encoding(code) {}

MemoryBlockObject::MemoryBlockObject(std::size_t size) : Object(FindClass("MemoryBlock")), bytes(size) {}

FolderItemObject::FolderItemObject(std::string location)
    : Object(FindClass("FolderItem")), path(std::move(location)) {}

Instance::Instance(const ClassInfo* instanceType) : Object(instanceType) {}

void Instance::Dispose() {
  for (auto& entry : objects) entry.second.Set(nullptr);
  objects.clear();
}

}  // namespace standin
