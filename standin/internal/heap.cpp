#include "standin/internal/heap.h"

#include <dlfcn.h>
#include <link.h>
#include <malloc.h>

#include <cstddef>
#include <cstdint>

#include "standin/faults.h"
#include "standin/internal/service.h"
#include "standin/internal/state.h"
#include "standin/ledger.h"

#if defined(__SANITIZE_ADDRESS__)
#define STANDIN_OWN_ALLOCATOR 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define STANDIN_OWN_ALLOCATOR 0
#endif
#endif
#ifndef STANDIN_OWN_ALLOCATOR
#define STANDIN_OWN_ALLOCATOR 1
#endif

namespace standin {
namespace {

// Plain globals without constructors: the allocator runs before any of those.
bool inside_plugin = false;
std::uintptr_t image_start = 0;
std::uintptr_t image_end = 0;

std::size_t block_count = 0;
std::size_t live_bytes = 0;
std::size_t peak_bytes = 0;

struct ImageSearch {
  std::uintptr_t address;
};

int FindImage(dl_phdr_info* info, std::size_t, void* data) {
  const std::uintptr_t wanted = static_cast<ImageSearch*>(data)->address;
  std::uintptr_t low = UINTPTR_MAX;
  std::uintptr_t high = 0;
  bool hit = false;
  for (int i = 0; i < info->dlpi_phnum; ++i) {
    const auto& segment = info->dlpi_phdr[i];
    if (segment.p_type != PT_LOAD) continue;
    const std::uintptr_t start = info->dlpi_addr + segment.p_vaddr;
    const std::uintptr_t end = start + segment.p_memsz;
    if (start < low) low = start;
    if (end > high) high = end;
    hit = hit || (wanted >= start && wanted < end);
  }
  if (!hit) return 0;
  image_start = low;
  image_end = high;
  return 1;
}

}  // namespace

void RememberPluginImage(const void* address) {
  ImageSearch search{reinterpret_cast<std::uintptr_t>(address)};
  dl_iterate_phdr(&FindImage, &search);
}

InsidePlugin::InsidePlugin() : previous_(inside_plugin) { inside_plugin = true; }
InsidePlugin::~InsidePlugin() { inside_plugin = previous_; }
OutsidePlugin::OutsidePlugin() : previous_(inside_plugin) { inside_plugin = false; }
OutsidePlugin::~OutsidePlugin() { inside_plugin = previous_; }

bool AllocatorInterposed() { return STANDIN_OWN_ALLOCATOR != 0; }
std::size_t LivePluginBlocks() { return block_count; }
std::size_t PeakPluginBytes() { return peak_bytes; }

void ResetPluginMemory() {
  block_count = 0;
  live_bytes = 0;
  peak_bytes = 0;
}

}  // namespace standin

#if STANDIN_OWN_ALLOCATOR

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void __libc_free(void* block);
}

namespace {

using namespace standin;

// The plugin holds a handful of buffers at a time; a block beyond the table's end is not watched.
constexpr std::size_t kMaxBlocks = 4096;
struct Block {
  void* address;
  std::size_t bytes;
};
Block blocks[kMaxBlocks];

bool FromPlugin(const void* caller) {
  const auto address = reinterpret_cast<std::uintptr_t>(caller);
  return inside_plugin && address >= image_start && address < image_end;
}

void* Watch(void* block) {
  if (block != nullptr && block_count < kMaxBlocks) {
    blocks[block_count] = {block, malloc_usable_size(block)};
    live_bytes += blocks[block_count++].bytes;
    if (live_bytes > peak_bytes) peak_bytes = live_bytes;
  }
  return block;
}

void Unwatch(void* block) {
  for (std::size_t i = block_count; i-- > 0;) {
    if (blocks[i].address != block) continue;
    live_bytes -= blocks[i].bytes;
    blocks[i] = blocks[--block_count];
    return;
  }
}

}  // namespace

// Defined in the program, these stand in front of the C library's for every library of the process.
extern "C" {

__attribute__((visibility("default"))) void* malloc(std::size_t size) noexcept {
  if (!FromPlugin(__builtin_return_address(0))) return __libc_malloc(size);
  return StrikesAllocation() ? nullptr : Watch(__libc_malloc(size));
}

__attribute__((visibility("default"))) void* calloc(std::size_t count, std::size_t size) noexcept {
  if (!FromPlugin(__builtin_return_address(0))) return __libc_calloc(count, size);
  return StrikesAllocation() ? nullptr : Watch(__libc_calloc(count, size));
}

__attribute__((visibility("default"))) void* realloc(void* block, std::size_t size) noexcept {
  const bool watched = FromPlugin(__builtin_return_address(0));
  if (watched && StrikesAllocation()) return nullptr;
  void* moved = __libc_realloc(block, size);
  if (moved == nullptr && size != 0) return nullptr;
  if (block_count != 0 && block != nullptr) Unwatch(block);
  return watched ? Watch(moved) : moved;
}

__attribute__((visibility("default"))) void free(void* block) noexcept {
  if (block != nullptr && block_count != 0) Unwatch(block);
  __libc_free(block);
}
}

#endif
