#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

// The runtime's objects as a test sees them. Every object (pictures, strings, memory blocks, exceptions, ...)
// is reference-counted; its handle is its address. References that a test holds are counted apart from those
// that the plugin holds, so that the ledger can tell who kept what.
namespace standin {

// Text encoding codes of strings.
constexpr std::uint32_t kMacRoman = 0x0000;
constexpr std::uint32_t kUtf16 = 0x0100;
constexpr std::uint32_t kWindowsLatin1 = 0x0500;
constexpr std::uint32_t kAscii = 0x0600;
constexpr std::uint32_t kUtf8 = 0x08000100;
constexpr std::uint32_t kUtf32 = 0x0C000100;
constexpr std::uint32_t kNoEncoding = 0xFFFF;

// Owns one reference of the test's, or none (nil).
class Ref {
 public:
  Ref() = default;
  // Takes over a reference that the plugin or a service handed out. nil gives an empty Ref.
  static Ref Adopt(void* handle);
  // Adds a reference of the test's.
  static Ref Retain(void* handle);
  Ref(const Ref& other);
  Ref(Ref&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)), epoch_(other.epoch_) {}
  Ref& operator=(Ref other) noexcept {
    std::swap(handle_, other.handle_);
    std::swap(epoch_, other.epoch_);
    return *this;
  }
  ~Ref() { Release(); }

  explicit operator bool() const { return handle_ != nullptr; }
  void* Get() const { return handle_; }
  // The handle in the type that the plugin's own headers give it.
  template <class T>
  T* As() const {
    return static_cast<T*>(handle_);
  }
  // Hands the reference on: from now on it counts as the plugin's.
  [[nodiscard]] void* Detach();
  void Release();

 private:
  explicit Ref(void* handle);
  void* handle_ = nullptr;
  int epoch_ = 0;  // a Ref that outlives a new Start is void
};

inline bool operator==(const Ref& a, const Ref& b) { return a.Get() == b.Get(); }
inline bool operator!=(const Ref& a, const Ref& b) { return !(a == b); }

// All functions below stop the run when the handle is nil, unknown, released or of another class.

// References of everybody together.
int ReferenceCount(const void* handle);
std::string ClassOf(const void* handle);

Ref NewString(const std::string& bytes, std::uint32_t encoding);
std::string StringBytes(const void* string);
std::uint32_t StringEncoding(const void* string);

Ref NewMemoryBlock(const std::vector<std::uint8_t>& bytes);
std::vector<std::uint8_t> MemoryBlockBytes(const void* block);

// A folder item: `path` is what the runtime reports as its path, in UTF-8; an empty one gives no path.
Ref NewFolderItem(const std::string& path);

// An instance of any class that Config does not list as missing.
Ref NewObject(const std::string& className);

// Exception objects.
std::string ExceptionMessage(const void* exception);     // empty when "Message" is nil
bool ExceptionHasMessage(const void* exception);         // "Message" is not nil
std::uint32_t ExceptionEncoding(const void* exception);  // of "Message"; kNoEncoding when nil
int ExceptionErrorNumber(const void* exception);

enum class Element {
  kInt8,
  kInt16,
  kInt32,
  kInt64,
  kUInt8,
  kUInt16,
  kUInt32,
  kUInt64,
  kSingle,
  kDouble,
  kString,
  kText,
  kObject
};
// An empty runtime array. Elements are read and written through the accessors that the array services give
// out.
Ref NewArray(Element element);
int ArraySize(const void* array);

}  // namespace standin
