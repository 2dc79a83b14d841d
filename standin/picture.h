#pragma once

#include <cstdint>
#include <vector>

#include "standin/objects.h"

// Pictures of the stand-in runtime, over three kinds of memory.
namespace standin {

enum class Store {
  kBitmap,  // the runtime's own rows behind a row table: grants description kind 10
  kCairo,   // a cairo image surface over own memory: grants kind 12, outside console mode
  kGdk,     // a GDK pixmap of depth 24 on an X display: grants kind 6, outside console mode; never with alpha
  kRefusing,  // plain memory that grants no description at all; the runtime itself can draw it
};

enum class Guard {
  kNone,
  kPicture,  // a page that may not be touched follows the last row
  kRows,     // one follows each row; bitmaps only, elsewhere as kPicture
};

struct StoreOptions {
  Store store = Store::kCairo;
  Guard guard = Guard::kNone;
  int extraStrideBytes = 0;    // behind each row, filled with kPaddingByte; rounded up to 4; not for kGdk
  bool scrambledRows = false;  // bitmaps: rows lie in memory in another order than the row table's
};

constexpr std::uint8_t kPaddingByte = 0xA5;

// The memory that the runtime's configuration prescribes for new pictures.
StoreOptions DefaultStore(bool alpha);

// New pictures, all bytes 0 (plain cairo pictures and pixmaps read back with the top byte as stored). Width
// and height are at least 1. Throws std::runtime_error when the store cannot be had (no cairo, no display).
Ref NewPicture(int width, int height);
Ref NewPicture(int width, int height, const StoreOptions& options);
Ref NewAlphaPicture(int width, int height);
Ref NewAlphaPicture(int width, int height, const StoreOptions& options);

int Width(const Ref& picture);
int Height(const Ref& picture);
bool HasAlpha(const Ref& picture);
Store StoreOf(const Ref& picture);
int LockCount(const Ref& picture);
// How often the plugin has told the runtime that the pixels changed ("REALPictureClearCache").
int ClearCacheCount(const Ref& picture);

// Pixels, top row first, without padding: 0xTTRRGGBB, the top byte as it is stored (0 from a pixmap).
std::vector<std::uint32_t> GetPixels(const Ref& picture);
// `pixels` holds width × height pixels. The top byte is stored as given (dropped by a pixmap).
void SetPixels(const Ref& picture, const std::uint32_t* pixels);
inline void SetPixels(const Ref& picture, const std::vector<std::uint32_t>& pixels) {
  SetPixels(picture, pixels.data());
}

// The first byte of a row in the picture's own memory; null for pixmaps. Valid while the picture lives.
std::uint8_t* RowAddress(const Ref& picture, int row);
// True when every padding byte behind every row still holds kPaddingByte.
bool PaddingIntact(const Ref& picture);

// The picture's mask, empty when it has none. Masks are plain pictures: black shows, white hides.
Ref MaskOf(const Ref& picture);
// Gives the picture a mask of any size and store (it keeps a reference), or takes it away with an empty one.
void SetMask(const Ref& picture, const Ref& mask);

}  // namespace standin
