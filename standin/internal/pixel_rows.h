#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "standin/picture.h"

namespace standin {

// The memory of a picture's 32-bit pixels, with the padding and the guards that were asked for. All bytes are
// 0, those of the padding kPaddingByte.
class PixelRows {
 public:
  PixelRows() = default;
  PixelRows(const PixelRows&) = delete;
  PixelRows& operator=(const PixelRows&) = delete;
  ~PixelRows() { Free(); }

  // Throws std::runtime_error when memory is short.
  void Allocate(int width, int height, const StoreOptions& options);
  void Free();

  bool Empty() const { return rows_.empty(); }
  std::uint8_t* Row(int y) const { return rows_[static_cast<std::size_t>(y)]; }
  // One address per row, top row first.
  std::uint8_t** Table() { return rows_.data(); }
  std::uint8_t* First() const { return rows_.front(); }
  // Distance of rows; with scrambled rows or a guard per row, rows lie elsewhere.
  int StrideBytes() const { return strideBytes_; }
  bool PaddingIntact() const;

 private:
  void AllocatePlain(bool scrambled);
  void AllocateGuarded();
  void AllocateGuardedRows();
  void Map(std::size_t bytes);
  void Protect(std::uint8_t* page);
  void FillPadding();
  std::size_t PaddingBytes(int y) const;

  std::vector<std::uint8_t*> rows_;
  int width_ = 0;
  int height_ = 0;
  int strideBytes_ = 0;
  Guard guard_ = Guard::kNone;
  std::uint8_t* block_ = nullptr;
  std::size_t blockBytes_ = 0;
  bool mapped_ = false;
};

}  // namespace standin
