#include "support/memory.h"

#include <cstdlib>
#include <cstring>

namespace pixmorph {
namespace {

constexpr long long kMaxBytes = 0x7FFFFFFF;
constexpr long long kMaxResizedBytes = 0x7FFFFFF0;
constexpr std::uint32_t kSizeWordBytes = 4;

void SetHandleSize(void* handle, long long size) {
  const auto word = static_cast<std::int32_t>(size);
  std::memcpy(handle, &word, kSizeWordBytes);
}

}  // namespace

void* AllocateClearMemory(long long size) {
  if (size < 1 || size > kMaxBytes) return nullptr;
  return std::calloc(1, static_cast<std::size_t>(size));
}

void FreeMemoryNow(void const* block) { std::free(const_cast<void*>(block)); }

void* ReallocateMemory(void* block, long long size) {
  return std::realloc(block, static_cast<std::uint32_t>(size));
}

void MoveMemory(void* to, void const* from, unsigned int count) { std::memmove(to, from, count); }

void FillMemory(void* block, unsigned char value, unsigned int count) { std::memset(block, value, count); }

void ClearMemory(void* block, unsigned int count) { std::memset(block, 0, count); }

char** allocateHandle(long long size) {
  if (size < 0 || size > kMaxBytes) return nullptr;
  void* handle = std::calloc(1, static_cast<std::size_t>(size) + kSizeWordBytes);
  if (handle) SetHandleSize(handle, size);
  return static_cast<char**>(handle);
}

int getHandleSize(char** handle) {
  std::int32_t size = 0;
  if (handle) std::memcpy(&size, handle, kSizeWordBytes);
  return size;
}

char* lockHandle(char** handle) {
  return handle ? reinterpret_cast<char*>(handle) + kSizeWordBytes : nullptr;
}

void unlockHandle(char**) {}

char** resizeHandle(char** handle, long long size) {
  if (size < 0 || size > kMaxResizedBytes) {
    freeHandle(handle);
    return nullptr;
  }
  void* resized = std::realloc(handle, static_cast<std::size_t>(size) + kSizeWordBytes);
  if (resized) SetHandleSize(resized, size);
  return static_cast<char**>(resized);
}

void freeHandle(char** handle) { std::free(handle); }

}  // namespace pixmorph
