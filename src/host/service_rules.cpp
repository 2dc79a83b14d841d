#include "host/service_slots.h"
#include "host/versions.h"

// The wrappers that do more than look up and forward.
namespace pixmorph {
namespace slots {

#define PIXMORPH_SERVICE_RULE(result, function, name, parameters, hostParameters) \
  HostService<result hostParameters> function(name);
#define PIXMORPH_SERVICE_SLOT(result, service, name, hostParameters) \
  HostService<result hostParameters> service(name);
#include "host/services.def"

}  // namespace slots

namespace {

// A text's reference count is its first word.
void AddToTextReferences(RuntimeText text, std::int32_t change) {
  if (text) *reinterpret_cast<std::int32_t*>(text) += change;
}

}  // namespace

void REALLockText(RuntimeText text) {
  slots::REALLockText.Find() ? slots::REALLockText(text) : AddToTextReferences(text, 1);
}

void REALUnlockText(RuntimeText text) {
  slots::REALUnlockText.Find() ? slots::REALUnlockText(text) : AddToTextReferences(text, -1);
}

REALpictureStruct* REALBuildPictureFromBuffer(long width, long height, RBPixelType pixelType, void* buffer,
                                              long rowBytes) {
  return slots::REALBuildPictureFromBuffer(width, height, pixelType, buffer, rowBytes);
}

bool REALBuildPictureFromBufferIfPresent(long width, long height, RBPixelType pixelType, void* buffer,
                                         long rowBytes, REALpictureStruct** picture) {
  *picture = nullptr;
  const auto build = slots::REALBuildPictureFromBuffer.Find();
  if (!build) return false;
  *picture = build(width, height, pixelType, buffer, rowBytes);
  return true;
}

void* REALGetEventInstance(REALcontrolInstanceStruct* instance, REALeventDefinition* event) {
  const auto getInstance = slots::REALGetEventInstance.Find();
  if (!getInstance) return nullptr;
  // The old layout's copy of the row is what the runtime knows; registration left its address in the row.
  const bool oldLayout = CurrentREALControlVersion == kOldestControlVersion;
  const auto* used = oldLayout ? static_cast<const REALeventDefinition*>(event->host) : event;
  return getInstance(instance, used->host);
}

REALobjectStruct* REALnewInstanceWithClass(REALclassRefStruct* classRef) {
  return classRef ? slots::REALnewInstanceWithClass(classRef) : nullptr;
}

void* REALLoadFrameworkMethod(const char* declaration) {
  return slots::REALLoadFrameworkMethod(nullptr, declaration);
}

int REALSetPropValueBoolean(REALobjectStruct* object, const char* name, unsigned char value) {
  return REALSetPropValueUInt8(object, name, value);
}

int REALDrawPicturePrimitive(REALgraphicsStruct* graphics, REALpictureStruct* picture,
                             const REALrect* rectangle) {
  return REALDrawPicturePrimitive(graphics, picture, rectangle, 0);
}

int MyREALMemoryBlockGetSize(REALmemoryBlockStruct* block) {
  return block ? REALMemoryBlockGetSize(block) : 0;
}

void* MyREALMemoryBlockGetPtr(REALmemoryBlockStruct* block) {
  return block ? REALMemoryBlockGetPtr(block) : nullptr;
}

void* FindRuntimeGraphicsDrawPicture() { return ResolveEntry("RuntimeGraphicsDrawPicture"); }

}  // namespace pixmorph
