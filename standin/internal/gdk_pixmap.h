#pragma once

#include <cstdint>

// A picture's pixels on the X server. All functions need a connected display.
namespace standin {

// A pixmap of depth 24, black. Throws std::runtime_error without a display.
void* NewPixmap(int width, int height);
void FreePixmap(void* pixmap);
// 32-bit pixels, row after row without padding, to and from the pixmap's rectangle at (x, y). The top byte is
// dropped, and reads as 0.
void WritePixmap(void* pixmap, int x, int y, int width, int height, const std::uint32_t* pixels);
void ReadPixmap(void* pixmap, int width, int height, std::uint32_t* pixels);
// Three bytes a pixel: red, green, blue.
void WritePixmapRgb(void* pixmap, int width, int height, const std::uint8_t* rgb, int rowBytes);

}  // namespace standin
