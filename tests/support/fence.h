#pragma once

#include <cstddef>
#include <cstdint>

// Memory that ends (or begins) at a page that may not be touched.
namespace test {

class Fence {
 public:
  enum class At { kEnd, kStart };
  // `bytes` bytes, filled with 0xC5, whose end lies exactly at a protected page (kEnd) or which begin right
  // behind one (kStart). 0 bytes are allowed: the address then is the fence itself.
  explicit Fence(std::size_t bytes, At at = At::kEnd);
  ~Fence();
  Fence(const Fence&) = delete;
  Fence& operator=(const Fence&) = delete;

  std::uint8_t* Data() const { return data_; }
  std::size_t Size() const { return bytes_; }
  template <class T>
  T* As() const {
    return reinterpret_cast<T*>(data_);
  }

 private:
  std::size_t bytes_;
  void* mapping_;
  std::size_t mappingBytes_;
  std::uint8_t* data_;
};

}  // namespace test
