#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

// The object model behind the handles: counted references, told apart by who holds them.
namespace standin {

struct ClassInfo {
  std::string name;
  const ClassInfo* parent;
};

// The class of that name; made on first use when `create` is set, else null when there is none.
const ClassInfo* FindClass(const std::string& name, bool create = false);
bool IsA(const ClassInfo* derived, const ClassInfo* base);

// The plugin may read the fourth word of a picture, its lock count; the rest of the layout is the stand-in's
// own.
class Object {
 public:
  explicit Object(const ClassInfo* type);
  virtual ~Object() = default;
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  // Gives back everything but the shell, which stays behind so that a later use is recognised.
  virtual void Dispose() {}
  int PluginReferences() const { return references - testReferences - runtimeReferences; }

  int references = 1;  // a new object's first reference is the plugin's
  bool live = true;
  std::int32_t lockCount = 0;
  int testReferences = 0;
  int runtimeReferences = 0;
  const ClassInfo* type;
  int serial;
};

enum class Holder { kPlugin, kTest, kRuntime };

// All handles ever given out since Start.
class Registry {
 public:
  // The live object of a handle; anything else stops the run with a report that names `user`.
  Object* Live(const void* handle, const char* user) const;
  // The same for an object of one C++ class, which has to be kClassName's.
  template <class T>
  T* As(const void* handle, const char* user) const {
    auto* object = dynamic_cast<T*>(Live(handle, user));
    if (object == nullptr) WrongClass(handle, user);
    return object;
  }
  void Retain(Object* object, Holder holder);
  // Drops a reference of that holder; one that the holder does not have stops the run.
  void Release(Object* object, Holder holder, const char* user);
  // Turns a reference of one holder into one of another.
  void Transfer(Object* object, Holder from, Holder to, const char* user);

  void Add(Object* object);
  void Forget();
  const std::vector<Object*>& All() const { return objects_; }
  int Epoch() const { return epoch_; }

 private:
  [[noreturn]] void WrongClass(const void* handle, const char* user) const;
  void Prune();

  std::unordered_set<const void*> known_;
  std::vector<Object*> objects_;  // live ones, and those that died since the last pruning
  std::vector<Object*> dead_;     // shells
  std::size_t pruneAt_ = 256;
  int epoch_ = 1;
  int serial_ = 0;

  friend class Object;
};

Registry& Objects();

// A reference of the runtime's own: what one object keeps of another.
class Kept {
 public:
  Kept() = default;
  Kept(const Kept&) = delete;
  Kept& operator=(const Kept&) = delete;
  ~Kept() = default;  // dropped by Set(nullptr) in Dispose; at Forget all objects go at once
  void Set(Object* object);
  Object* Get() const { return object_; }

 private:
  Object* object_ = nullptr;
};

class StringObject : public Object {
 public:
  StringObject(std::string text, std::uint32_t code);
  std::string bytes;
  std::uint32_t encoding;
};

class MemoryBlockObject : public Object {
 public:
  explicit MemoryBlockObject(std::size_t size);
  void Dispose() override { bytes = {}; }
  std::vector<std::uint8_t> bytes;
};

class FolderItemObject : public Object {
 public:
  explicit FolderItemObject(std::string location);
  std::string path;
};

// An instance with properties by name: exceptions and any class without a type of its own here.
class Instance : public Object {
 public:
  explicit Instance(const ClassInfo* type);
  void Dispose() override;
  std::unordered_map<std::string, std::int32_t> integers;
  std::unordered_map<std::string, double> doubles;
  std::unordered_map<std::string, Kept> objects;  // strings too
};

}  // namespace standin
