#ifndef PIXMORPH_KERNELS_RESAMPLE_WORD_SLOTS_H_
#define PIXMORPH_KERNELS_RESAMPLE_WORD_SLOTS_H_

#include <cstddef>
#include <cstdint>

#include "kernels/resample_kernel.h"

// Where the samples of both passes lie. A pixel's top byte is nobody's and takes part in nothing.
//
// Of the source, eight rows are woven together: a pair of columns is three channels of eight rows, each with
// its two samples as 16-bit words.
//
// A slot holds eight intermediate rows as four planes of two rows each. A plane goes by blocks of columns,
// each channel by channel: in every column the bytes of the plane's two rows. So all planes of contiguous
// slots are equally far apart, and one is a pair of vertical taps.
namespace pixmorph::kernels {

namespace {

constexpr std::int32_t kBatchRows = 8;
constexpr std::int32_t kPlanes = kBatchRows / 2;
constexpr std::int32_t kChannels = 3;
constexpr std::ptrdiff_t kRowsBytes = 4 * kBatchRows;          // of one channel in a pair of columns
constexpr std::ptrdiff_t kPairBytes = kChannels * kRowsBytes;  // of the pair
constexpr std::int32_t kStretchPairs = 160;                    // 15 KiB

// V: a vector type whose vectors have V::kSums 32-bit sums. A block takes four of them for each channel.
template <class V>
struct WordSlots {
  static constexpr std::int32_t kBlock = 4 * V::kSums;  // columns
  static constexpr std::ptrdiff_t kChannelBytes = 2 * kBlock;
  static constexpr std::ptrdiff_t kBlockBytes = kChannels * kChannelBytes;

  static std::int64_t PlaneBytes(std::int32_t width) {
    return (std::int64_t{width} + kBlock - 1) / kBlock * kBlockBytes;
  }

  // The block of column x in a plane. [bytes]
  PIXMORPH_INLINE_MEMBER static std::ptrdiff_t Block(std::uint32_t x) {
    return static_cast<std::ptrdiff_t>(x / kBlock * static_cast<std::uint32_t>(kBlockBytes));
  }
  // Column x in a plane: two bytes of the first channel; the others follow kChannelBytes and twice as many
  // bytes later. From a multiple of 4 on, four columns lie side by side.
  PIXMORPH_INLINE_MEMBER static std::ptrdiff_t Column(std::int32_t x) {
    const auto column = static_cast<std::uint32_t>(x);
    return Block(column) + static_cast<std::ptrdiff_t>(2 * V::PlaceInBlock(column % kBlock));
  }
};

PIXMORPH_INLINE std::ptrdiff_t PlaneStride(const FusedPlan& plan) {
  return static_cast<std::ptrdiff_t>(plan.slotBytes / kPlanes);
}

PIXMORPH_INLINE const std::uint8_t* PixelAt(const std::uint8_t* row, std::int32_t x) {
  return row + 4 * static_cast<std::ptrdiff_t>(x);
}

}  // namespace

}  // namespace pixmorph::kernels

#endif  // PIXMORPH_KERNELS_RESAMPLE_WORD_SLOTS_H_
