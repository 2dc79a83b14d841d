#ifndef PIXMORPH_SUPPORT_OWNED_H_
#define PIXMORPH_SUPPORT_OWNED_H_

#include <cstdint>
#include <type_traits>

#include "host/services.h"
#include "support/memory.h"

// Owning types: whatever is declared as one of these is given back on every path, also when a runtime service
// throws through the plugin.
namespace pixmorph {

// Owns exactly one runtime reference to an object (pictures, graphics objects, ...), or none. Move only.
template <class Object>
class HostRef {
 public:
  HostRef() = default;
  // The reference is already ours.
  [[nodiscard]] static HostRef Adopt(Object* object) { return HostRef(object); }
  // Takes one more reference; nil gives an empty owner. [calls host]
  [[nodiscard]] static HostRef Retain(Object* object) {
    if (object) REALLockObject(reinterpret_cast<REALobjectStruct*>(object));
    return HostRef(object);
  }
  HostRef(HostRef&& other) noexcept : object_(other.Detach()) {}
  HostRef& operator=(HostRef&& other) noexcept {
    if (this != &other) {
      Release();
      object_ = other.Detach();
    }
    return *this;
  }
  HostRef(const HostRef&) = delete;
  HostRef& operator=(const HostRef&) = delete;
  ~HostRef() { Release(); }

  // Gives the reference back now. [calls host]
  void Release() {
    if (Object* object = Detach()) REALUnlockObject(reinterpret_cast<REALobjectStruct*>(object));
  }
  [[nodiscard]] Object* Get() const { return object_; }
  // Hands the reference to the caller.
  [[nodiscard]] Object* Detach() {
    Object* object = object_;
    object_ = nullptr;
    return object;
  }
  explicit operator bool() const { return object_ != nullptr; }

 private:
  explicit HostRef(Object* object) : object_(object) {}
  Object* object_ = nullptr;
};

using PictureRef = HostRef<REALpictureStruct>;

// Owns one block from `AllocateClearMemory`, seen as elements of T (trivial types only). Move only.
template <class T>
class WorkBuffer {
  static_assert(std::is_trivial<T>::value, "work buffers are raw zero-filled memory");

 public:
  WorkBuffer() = default;
  // Zero-filled memory of `bytes` bytes; empty when it cannot be had.
  explicit WorkBuffer(std::int64_t bytes) : data_(static_cast<T*>(AllocateClearMemory(bytes))) {}
  WorkBuffer(WorkBuffer&& other) noexcept : data_(other.data_) { other.data_ = nullptr; }
  WorkBuffer& operator=(WorkBuffer&& other) noexcept {
    if (this != &other) {
      Release();
      data_ = other.data_;
      other.data_ = nullptr;
    }
    return *this;
  }
  WorkBuffer(const WorkBuffer&) = delete;
  WorkBuffer& operator=(const WorkBuffer&) = delete;
  ~WorkBuffer() { Release(); }

  void Release() {
    if (data_) FreeMemoryNow(data_);
    data_ = nullptr;
  }
  [[nodiscard]] T* Get() const { return data_; }
  // Hands the memory to the caller (`FreeMemoryNow`).
  [[nodiscard]] T* Detach() {
    T* data = data_;
    data_ = nullptr;
    return data;
  }
  T& operator[](std::int64_t index) const { return data_[index]; }
  explicit operator bool() const { return data_ != nullptr; }

 private:
  T* data_ = nullptr;
};

}  // namespace pixmorph

#endif  // PIXMORPH_SUPPORT_OWNED_H_
