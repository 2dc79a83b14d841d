#ifndef PIXMORPH_HOST_SERVICES_H_
#define PIXMORPH_HOST_SERVICES_H_

#include "host/encodings.h"
#include "host/types.h"

// One wrapper per runtime service. A wrapper looks its service up on the first use, keeps the address, and
// gives 0 (null, false, or the value stated in services.def) while the runtime lacks it. Whatever is returned
// new carries one reference for the caller. Everything here may throw what the runtime throws. [calls host]
namespace pixmorph {

// Of a boolean that the runtime returns, only the low byte counts. [pure]
inline bool HostTrue(int result) { return (result & 0xFF) != 0; }

#define PIXMORPH_SERVICE(result, function, name, parameters, arguments) result function parameters;
#define PIXMORPH_SERVICE_ELSE(result, function, name, parameters, arguments, value) \
  result function parameters;
#define PIXMORPH_SERVICE_RULE(result, function, name, parameters, hostParameters) result function parameters;
// Insert and set give 1 when the runtime had an accessor for the array, otherwise 0. Get stores the element
// (a string, text or object with its reference) through `value`; with a null `value` it only asks for the
// accessor.
#define PIXMORPH_ARRAY_ELEMENT(suffix, type)                                       \
  int REALInsertArrayValue##suffix(REALarrayStruct* array, int index, type value); \
  int REALGetArrayValue##suffix(REALarrayStruct* array, int index, type* value);   \
  int REALSetArrayValue##suffix(REALarrayStruct* array, int index, type value);
#include "host/services.def"

// The picture made of `buffer`. True: the service was there and was handed the buffer, whatever came back in
// `*picture` (one reference for the caller, or null); the buffer belongs to the runtime from then on. False:
// the runtime lacks the service, the buffer is still the caller's and `*picture` is null. One look-up at
// most.
[[nodiscard]] bool REALBuildPictureFromBufferIfPresent(long width, long height, RBPixelType pixelType,
                                                       void* buffer, long rowBytes,
                                                       REALpictureStruct** picture);

// `REALSetPropValueUInt8` under the name of the runtime's service.
int REALSetPropValueBoolean(REALobjectStruct* object, const char* name, unsigned char value);

// The four-argument form with 0.
int REALDrawPicturePrimitive(REALgraphicsStruct* graphics, REALpictureStruct* picture,
                             const REALrect* rectangle);

// 0 for a null block without asking the runtime.
int MyREALMemoryBlockGetSize(REALmemoryBlockStruct* block);
void* MyREALMemoryBlockGetPtr(REALmemoryBlockStruct* block);

// The runtime's separate drawing entry, looked up on every call and never called.
void* FindRuntimeGraphicsDrawPicture();

}  // namespace pixmorph

#endif  // PIXMORPH_HOST_SERVICES_H_
