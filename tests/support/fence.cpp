#include "tests/support/fence.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace test {

Fence::Fence(std::size_t bytes, At at) : bytes_(bytes) {
  const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  const std::size_t whole = (bytes + page - 1) / page * page;
  mappingBytes_ = whole + 2 * page;
  mapping_ = mmap(nullptr, mappingBytes_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping_ == MAP_FAILED) std::abort();
  std::uint8_t* usable = static_cast<std::uint8_t*>(mapping_) + page;
  if (whole != 0) mprotect(usable, whole, PROT_READ | PROT_WRITE);
  data_ = at == At::kEnd ? usable + whole - bytes : usable;
  std::memset(data_, 0xC5, bytes);
}

Fence::~Fence() { munmap(mapping_, mappingBytes_); }

}  // namespace test
