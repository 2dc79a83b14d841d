#include <cstring>
#include <string>

#include "standin/internal/picture_object.h"
#include "standin/internal/service.h"
#include "standin/internal/state.h"

namespace standin {
namespace {

bool PropertyMissing(const char* name) { return CurrentConfig().missingProperties.count(name) != 0; }

// nil has no properties: reading fails, as it does for a name that the object lacks.
Object* Owner(void* handle, const char* name, const char* service) {
  return handle == nullptr || PropertyMissing(name) ? nullptr : Objects().Live(handle, service);
}

const std::int32_t* FindInteger(Object* object, const char* name) {
  if (auto* instance = dynamic_cast<Instance*>(object)) {
    const auto found = instance->integers.find(name);
    return found == instance->integers.end() ? nullptr : &found->second;
  }
  auto* picture = dynamic_cast<PictureObject*>(object);
  if (picture == nullptr) return nullptr;
  if (std::strcmp(name, "Width") == 0) return &picture->width;
  return std::strcmp(name, "Height") == 0 ? &picture->height : nullptr;
}

int GetInteger(void* handle, const char* name, std::int32_t* out) {
  Object* object = Owner(handle, name, "REALGetPropValueInt");
  const std::int32_t* value = object == nullptr ? nullptr : FindInteger(object, name);
  if (value == nullptr) return HostBoolean(false);
  *out = *value;
  return HostBoolean(true);
}

int GetBoolean(void* handle, const char* name, std::uint8_t* out) {
  auto* picture = dynamic_cast<PictureObject*>(Owner(handle, name, "REALGetPropValueBool"));
  if (picture == nullptr || std::strcmp(name, "HasAlphaChannel") != 0) return HostBoolean(false);
  *out = picture->alpha ? 1 : 0;
  return HostBoolean(true);
}

Instance* Writable(void* handle, const char* name, const char* service) {
  return dynamic_cast<Instance*>(Owner(handle, name, service));
}

int SetInteger(void* handle, const char* name, std::int32_t value) {
  Instance* instance = Writable(handle, name, "REALSetPropValueInt");
  if (instance == nullptr) return HostBoolean(false);
  instance->integers[name] = value;
  return HostBoolean(true);
}

int SetDouble(void* handle, const char* name, double value) {
  Instance* instance = Writable(handle, name, "REALSetPropValueDouble");
  if (instance == nullptr) return HostBoolean(false);
  instance->doubles[name] = value;
  return HostBoolean(true);
}

int GetDouble(void* handle, const char* name, double* out) {
  const Instance* instance = Writable(handle, name, "REALGetPropValueDouble");
  if (instance == nullptr || instance->doubles.count(name) == 0) return HostBoolean(false);
  *out = instance->doubles.at(name);
  return HostBoolean(true);
}

int KeepValue(Instance* instance, const char* name, Object* value) {
  if (instance == nullptr) return HostBoolean(false);
  instance->objects[name].Set(value);
  return HostBoolean(true);
}

int SetString(void* handle, const char* name, void* string) {
  Object* value = nullptr;
  if (string != nullptr) value = Objects().As<StringObject>(string, "REALSetPropValueString");
  return KeepValue(Writable(handle, name, "REALSetPropValueString"), name, value);
}

int SetObject(void* handle, const char* name, void* object) {
  Object* value = object == nullptr ? nullptr : Objects().Live(object, "REALSetPropValueObject");
  return KeepValue(Writable(handle, name, "REALSetPropValueObject"), name, value);
}

// Hands out what a property holds with a reference for the caller.
int GetKept(void* handle, const char* name, void** out, const char* service) {
  Instance* instance = Writable(handle, name, service);
  if (instance == nullptr || instance->objects.count(name) == 0) return HostBoolean(false);
  Object* value = instance->objects.at(name).Get();
  if (value != nullptr) Objects().Retain(value, Holder::kPlugin);
  *out = value;
  return HostBoolean(true);
}

int GetString(void* handle, const char* name, void** out) {
  return GetKept(handle, name, out, "REALGetPropValueString");
}
int GetObject(void* handle, const char* name, void** out) {
  return GetKept(handle, name, out, "REALGetPropValueObject");
}

}  // namespace

void DefinePropertyServices() {
  Define<&GetInteger>("REALGetPropValueInt");
  Define<&GetBoolean>("REALGetPropValueBool");
  Define<&GetDouble>("REALGetPropValueDouble");
  Define<&GetString>("REALGetPropValueString");
  Define<&GetObject>("REALGetPropValueObject");
  Define<&SetInteger>("REALSetPropValueInt");
  Define<&SetDouble>("REALSetPropValueDouble");
  Define<&SetString>("REALSetPropValueString");
  Define<&SetObject>("REALSetPropValueObject");
}

}  // namespace standin
