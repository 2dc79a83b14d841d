#pragma once

#include <cstdint>

#include "standin/runtime.h"

// The plugin's side of the runtime, as small as can be: services by name.
namespace fake {

template <class F>
F* Service(const char* name) {
  return reinterpret_cast<F*>(standin::Resolve(name));
}

inline void* NewPicture(int width, int height) {
  return Service<void*(int, int, int)>("newPicture")(width, height, 32);
}
inline void Retain(void* object) { Service<void(void*)>("REALLockObject")(object); }
inline void Release(void* object) { Service<void(void*)>("REALUnlockObject")(object); }

struct Description {
  std::int32_t kind = -1;
  void* data = nullptr;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::int32_t reserved[2] = {};
};
inline bool Lock(void* picture, int kind, Description* description) {
  auto* lock = Service<int(void*, Description*, int)>("REALLockPictureDescription");
  return (lock(picture, description, kind) & 0xFF) != 0;
}
inline void Unlock(void* picture) { Service<void(void*)>("unlockPictureDescription")(picture); }

}  // namespace fake
