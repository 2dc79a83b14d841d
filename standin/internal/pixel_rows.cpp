#include "standin/internal/pixel_rows.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <stdexcept>

#include "standin/runtime.h"

namespace standin {
namespace {

struct SpareBlock {
  std::uint8_t* address;
  std::size_t bytes;
};
std::vector<SpareBlock>& Spares() {
  static auto& spares = *new std::vector<SpareBlock>;
  return spares;
}
constexpr std::size_t kMaxSpares = 8;

std::uint8_t* TakeSpare(std::size_t bytes) {
  auto& spares = Spares();
  for (std::size_t i = 0; i < spares.size(); ++i) {
    if (spares[i].bytes != bytes) continue;
    std::uint8_t* address = spares[i].address;
    spares.erase(spares.begin() + static_cast<std::ptrdiff_t>(i));
    return address;
  }
  return nullptr;
}

void GiveSpare(std::uint8_t* address, std::size_t bytes) {
  auto& spares = Spares();
  if (spares.size() == kMaxSpares) {
    std::free(spares.front().address);
    spares.erase(spares.begin());
  }
  spares.push_back({address, bytes});
}

std::size_t PageBytes() {
  static const auto bytes = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
  return bytes;
}

std::size_t WholePages(std::size_t bytes) { return (bytes + PageBytes() - 1) / PageBytes() * PageBytes(); }

[[noreturn]] void NoMemory() { throw std::runtime_error("no memory for a picture's pixels"); }

}  // namespace

void PixelRows::Allocate(int width, int height, const StoreOptions& options) {
  Free();
  width_ = width;
  height_ = height;
  guard_ = options.guard;
  strideBytes_ = width * 4 + (std::max(options.extraStrideBytes, 0) + 3) / 4 * 4;
  if (static_cast<std::uint64_t>(strideBytes_) * static_cast<std::uint64_t>(height) > 0x70000000u) NoMemory();
  rows_.resize(static_cast<std::size_t>(height));
  if (guard_ == Guard::kRows) {
    AllocateGuardedRows();
  } else if (guard_ == Guard::kPicture) {
    AllocateGuarded();
  } else {
    AllocatePlain(options.scrambledRows);
  }
  FillPadding();
}

void PixelRows::AllocatePlain(bool scrambled) {
  const auto stride = static_cast<std::size_t>(strideBytes_);
  blockBytes_ = stride * rows_.size();
  block_ = TakeSpare(blockBytes_);
  if (block_ == nullptr) block_ = static_cast<std::uint8_t*>(std::calloc(blockBytes_, 1));
  if (block_ == nullptr) {
    rows_.clear();
    NoMemory();
  }
  std::vector<std::size_t> order(rows_.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (scrambled) std::shuffle(order.begin(), order.end(), std::minstd_rand(20));
  for (std::size_t y = 0; y < rows_.size(); ++y) rows_[y] = block_ + order[y] * stride;
}

void PixelRows::Map(std::size_t bytes) {
  void* mapping = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (mapping == MAP_FAILED) {
    rows_.clear();
    NoMemory();
  }
  block_ = static_cast<std::uint8_t*>(mapping);
  blockBytes_ = bytes;
  mapped_ = true;
}

void PixelRows::Protect(std::uint8_t* page) { mprotect(page, PageBytes(), PROT_NONE); }

// The last row has no padding: the guard follows its last pixel.
void PixelRows::AllocateGuarded() {
  const auto stride = static_cast<std::size_t>(strideBytes_);
  const std::size_t bytes = stride * (rows_.size() - 1) + static_cast<std::size_t>(width_) * 4;
  const std::size_t whole = WholePages(bytes);
  Map(whole + PageBytes());
  Protect(block_ + whole);
  for (std::size_t y = 0; y < rows_.size(); ++y) rows_[y] = block_ + whole - bytes + y * stride;
}

void PixelRows::AllocateGuardedRows() {
  const std::size_t bytes = static_cast<std::size_t>(width_) * 4;
  const std::size_t whole = WholePages(bytes);
  const std::size_t step = whole + PageBytes();
  Map(step * rows_.size());
  for (std::size_t y = 0; y < rows_.size(); ++y) {
    rows_[y] = block_ + y * step + whole - bytes;
    Protect(block_ + y * step + whole);
  }
}

void PixelRows::Free() {
  decltype(rows_)().swap(rows_);
  if (block_ == nullptr) return;
  if (mapped_) {
    munmap(block_, blockBytes_);
  } else if (CurrentConfig().recyclePixels) {
    GiveSpare(block_, blockBytes_);
  } else {
    std::free(block_);
  }
  block_ = nullptr;
  mapped_ = false;
}

std::size_t PixelRows::PaddingBytes(int y) const {
  if (guard_ == Guard::kRows || (guard_ == Guard::kPicture && y == height_ - 1)) return 0;
  return static_cast<std::size_t>(strideBytes_ - width_ * 4);
}

void PixelRows::FillPadding() {
  for (int y = 0; y < height_; ++y) {
    if (const std::size_t bytes = PaddingBytes(y)) std::memset(Row(y) + width_ * 4, kPaddingByte, bytes);
  }
}

bool PixelRows::PaddingIntact() const {
  for (int y = 0; y < height_ && !rows_.empty(); ++y) {
    const std::uint8_t* padding = Row(y) + width_ * 4;
    const auto intact = [](std::uint8_t byte) { return byte == kPaddingByte; };
    if (!std::all_of(padding, padding + PaddingBytes(y), intact)) return false;
  }
  return true;
}

}  // namespace standin
