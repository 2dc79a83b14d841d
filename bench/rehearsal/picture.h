#ifndef PIXMORPH_BENCH_REHEARSAL_PICTURE_H_
#define PIXMORPH_BENCH_REHEARSAL_PICTURE_H_

#include <cstdint>

#include "host/types.h"

// A picture in plain memory, for runs of the operations without any runtime.
struct pixmorph::REALpictureStruct {
  int references;
  int width, height;       // pixels
  std::int32_t pixelType;  // as an editor reports it
  bool hasAlpha;
  int strideBytes;
  std::uint8_t* pixels;     // owned
  REALpictureStruct* mask;  // one reference, or null
};

namespace rehearsal {

using Picture = pixmorph::REALpictureStruct;

// Pixel type of the pictures that the operations make; those with an alpha channel have 14 instead.
extern std::int32_t gNewPictureType;

// Called for every yield, with the context; null: nothing happens.
extern void (*gOnYield)(void* context);
extern void* gOnYieldContext;

// One reference for the caller; the pixels are whatever was there.
Picture* NewPicture(int width, int height, std::int32_t pixelType);
void Retain(Picture* picture);
void Release(Picture* picture);

}  // namespace rehearsal

#endif  // PIXMORPH_BENCH_REHEARSAL_PICTURE_H_
