#ifndef PIXMORPH_HOST_TYPES_H_
#define PIXMORPH_HOST_TYPES_H_

#include <cstddef>
#include <cstdint>

#include "host/records.h"

// The runtime's handles and records, in its own 32-bit layouts.
namespace pixmorph {

// Handles: counted by the runtime, the plugin only passes them back.
struct REALobjectStruct;
struct REALpictureStruct;
struct REALgraphicsStruct;
struct REALstringStruct;
struct REALclassRefStruct;
struct REALmemoryBlockStruct;
struct REALarrayStruct;
struct REALfolderItemStruct;
struct REALcontrolInstanceStruct;
struct RuntimeTextStruct;
using RuntimeText = RuntimeTextStruct*;

// A rectangle of the runtime, passed back only.
struct REALrect;

// Every counted handle but a string or a text is an object. [pure]
template <class Handle>
inline REALobjectStruct* AsObject(Handle* handle) {
  return reinterpret_cast<REALobjectStruct*>(handle);
}

// Word of a picture object that holds the runtime's count of locks on its pixels.
constexpr int kPictureLockCountWord = 3;

// Pixel layouts of a caller's own buffer.
enum RBPixelType : std::int32_t { kBufferRGB24 = 1 };  // three bytes: red, green, blue

// What a granted lock fills in; `data` depends on `kind`.
struct REALpictureDescription {
  std::int32_t kind;
  void* data;
  std::int32_t width;   // pixels
  std::int32_t height;  // pixels
  std::int32_t unused16;
  std::uint8_t unused20;
  std::uint8_t padding[3];
};
PIXMORPH_LAYOUT(sizeof(REALpictureDescription) == 24);
PIXMORPH_LAYOUT(offsetof(REALpictureDescription, data) == 4);
PIXMORPH_LAYOUT(offsetof(REALpictureDescription, height) == 12);
PIXMORPH_LAYOUT(offsetof(REALpictureDescription, unused20) == 20);

// 32-bit words of the runtime's own bitmap record.
constexpr int kHostBitmapZeroWord = 0;  // anything but 0: not a bitmap the plugin understands
constexpr int kHostBitmapWidthWord = 1;
constexpr int kHostBitmapHeightWord = 2;
constexpr int kHostBitmapNonZeroWord = 1806;
constexpr int kHostBitmapRowTableWord = 1807;  // address of one row address per row, top row first

// The bytes of a string in one encoding. `data` is owned by the record (`REALDisposeStringData`).
struct REALstringData {
  void* data;
  std::uint32_t length;  // bytes, without the four zero bytes that follow them
  std::uint32_t encoding;
};
PIXMORPH_LAYOUT(sizeof(REALstringData) == 12);

// The same for a text (`REALDisposeTextData`).
using REALtextData = REALstringData;

}  // namespace pixmorph

#endif  // PIXMORPH_HOST_TYPES_H_
