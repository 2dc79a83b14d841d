#pragma once

#include <array>
#include <cstdint>
#include <type_traits>

// How a service of the runtime is offered to the plugin: as a plain function that counts and logs the call,
// steps out of the stretch that counts as the plugin's own, and throws when it was told to.
namespace standin {

struct Service {
  const char* name;  // resolver name, or declaration of a method
  void* address;
  int calls = 0;
};

using Words = std::array<std::uintptr_t, 5>;

// Counts and logs; may throw (faults.h).
void BeginCall(Service& service, const Words& words);

class OutsidePlugin {
 public:
  OutsidePlugin();
  ~OutsidePlugin();
  OutsidePlugin(const OutsidePlugin&) = delete;
  OutsidePlugin& operator=(const OutsidePlugin&) = delete;

 private:
  bool previous_;
};

template <class T>
std::uintptr_t ToWord(T value) {
  if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<std::uintptr_t>(value);
  } else if constexpr (std::is_floating_point_v<T>) {
    return 0;  // not a word
  } else {
    return static_cast<std::uintptr_t>(value);
  }
}

template <auto kFunction>
struct Entry;

template <class R, class... A, R (*kFunction)(A...)>
struct Entry<kFunction> {
  static inline Service* service = nullptr;
  static R Call(A... arguments) {
    OutsidePlugin outside;
    Words words{};
    std::size_t count = 0;
    (void)count;
    ((count < words.size() ? (words[count++] = ToWord(arguments), 0) : 0), ...);
    BeginCall(*service, words);
    return kFunction(arguments...);
  }
};

// Puts a service into the resolver's table. One function per name.
Service* AddService(const char* name, void* address);
template <auto kFunction>
void Define(const char* name) {
  Entry<kFunction>::service = AddService(name, reinterpret_cast<void*>(&Entry<kFunction>::Call));
}

// Puts a method into the table that "REALLoadObjectMethod" and, with a null class, "REALLoadGlobalMethod"
// search.
Service* AddMethod(const char* className, const char* declaration, void* address);
template <auto kFunction>
void DefineMethod(const char* className, const char* declaration) {
  Entry<kFunction>::service =
      AddMethod(className, declaration, reinterpret_cast<void*>(&Entry<kFunction>::Call));
}

// The method of an object, or null: unknown, missing in the configuration, or the object has none of that
// name.
void* FindMethod(const void* object, const char* declaration);
void* FindGlobalMethod(const char* declaration);

// What a runtime of the time leaves in a result register of which only the low byte counts.
inline int HostBoolean(bool value) { return static_cast<int>(0x7BADC000u | (value ? 1u : 0u)); }

// The groups of services; each fills the tables when the first name is asked for.
void DefineObjectServices();
void DefinePropertyServices();
void DefineStringServices();
void DefineArrayServices();
void DefinePictureServices();
void DefineDrawingServices();
void DefineRegistrationServices();
void DefineRuntimeServices();

}  // namespace standin
