#ifndef PIXMORPH_SCALING_WORK_SLAB_H_
#define PIXMORPH_SCALING_WORK_SLAB_H_

#include <cstdint>

#include "support/numeric.h"
#include "support/owned.h"

namespace pixmorph {

// Several tables and row buffers in one block of memory, each at a cache line of its own: planned first, had
// or not had as a whole.
class WorkSlab {
 public:
  // Plans a part of `count` elements and gives its place. A plan that grows beyond 2^31 bytes can't be had.
  template <class T>
  std::int64_t Plan(std::int64_t count) {
    const std::int64_t place = size_.Bytes();
    const std::int64_t bytes = ByteSize(sizeof(T)).Times(count).Plus(kLine - 1).Bytes();
    size_.Plus(bytes < 0 ? bytes : bytes / kLine * kLine);
    return place;
  }

  // Allocates everything planned, zero-filled. False when it can't be had.
  [[nodiscard]] bool Allocate() {
    memory_ = WorkBuffer<std::uint8_t>(size_.Plus(kLine).Bytes());
    return static_cast<bool>(memory_);
  }

  // The part at `place`, owned by the slab. Only after a successful `Allocate`.
  template <class T>
  T* At(std::int64_t place) const {
    const auto start = reinterpret_cast<std::uintptr_t>(memory_.Get());
    return reinterpret_cast<T*>((start + kLine - 1) / kLine * kLine + static_cast<std::uintptr_t>(place));
  }

 private:
  static constexpr std::int64_t kLine = 64;
  ByteSize size_{0};
  WorkBuffer<std::uint8_t> memory_;
};

}  // namespace pixmorph

#endif  // PIXMORPH_SCALING_WORK_SLAB_H_
