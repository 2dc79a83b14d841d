#ifndef PIXMORPH_HOST_RECORDS_H_
#define PIXMORPH_HOST_RECORDS_H_

#include <cstddef>
#include <cstdint>

// Registration records in the runtime's current layouts. The runtime keeps the addresses it is given, so that
// every record and row list lives as long as the process.
namespace pixmorph {

// The layouts are those of 32-bit x86. Benchmarks may compile the operations for 64 bits, where no runtime exists.
#define PIXMORPH_LAYOUT(condition) static_assert(sizeof(void*) != 4 || (condition))

struct REALmethodDefinition {
  void* function;  // implementation or getter; null when there is only a setter
  void* setter;    // or null
  const char* declaration;
  std::uint32_t flags;
  std::int32_t attributeCount;
  void* attributes;
};
PIXMORPH_LAYOUT(sizeof(REALmethodDefinition) == 24);
PIXMORPH_LAYOUT(offsetof(REALmethodDefinition, flags) == 12);

struct REALpropertyDefinition {
  const char* group;
  const char* name;
  const char* type;
  std::uint32_t flags;
  std::uint32_t more[8];
};
PIXMORPH_LAYOUT(sizeof(REALpropertyDefinition) == 48);
PIXMORPH_LAYOUT(offsetof(REALpropertyDefinition, flags) == 12);

struct REALeventDefinition {
  const char* declaration;
  void* host;  // the runtime's; in old layouts the address of the row's old copy
  std::uint32_t more[2];
};
PIXMORPH_LAYOUT(sizeof(REALeventDefinition) == 16);
PIXMORPH_LAYOUT(offsetof(REALeventDefinition, host) == 4);

struct REALconstantDefinition {
  const char* declaration;
  void* reserved;
  std::uint32_t flags;
  std::uint32_t more[2];
};
PIXMORPH_LAYOUT(sizeof(REALconstantDefinition) == 20);

struct REALclassDefinition {
  std::int32_t version;
  const char* name;
  const char* superName;
  std::int32_t dataSize;  // bytes per instance
  void* reserved;
  void* constructor;
  void* destructor;
  REALpropertyDefinition* properties;
  std::int32_t propertyCount;
  REALmethodDefinition* methods;
  std::int32_t methodCount;
  REALeventDefinition* events;
  std::int32_t eventCount;
  void* eventInstances;
  std::int32_t eventInstanceCount;
  const char* interfaces;
  void* obsoleteList;
  std::int32_t obsoleteCount;
  REALconstantDefinition* constants;
  std::int32_t constantCount;
  std::uint32_t flags;
  REALpropertyDefinition* sharedProperties;
  std::int32_t sharedPropertyCount;
  REALmethodDefinition* sharedMethods;
  std::int32_t sharedMethodCount;
  std::uint32_t more[7];  // lists that the old layout does not have
};
PIXMORPH_LAYOUT(sizeof(REALclassDefinition) == 128);
PIXMORPH_LAYOUT(offsetof(REALclassDefinition, properties) == 28);
PIXMORPH_LAYOUT(offsetof(REALclassDefinition, methods) == 36);
PIXMORPH_LAYOUT(offsetof(REALclassDefinition, events) == 44);
PIXMORPH_LAYOUT(offsetof(REALclassDefinition, obsoleteList) == 64);
PIXMORPH_LAYOUT(offsetof(REALclassDefinition, constants) == 72);
PIXMORPH_LAYOUT(offsetof(REALclassDefinition, flags) == 80);
PIXMORPH_LAYOUT(offsetof(REALclassDefinition, sharedProperties) == 84);
PIXMORPH_LAYOUT(offsetof(REALclassDefinition, sharedMethods) == 92);
PIXMORPH_LAYOUT(offsetof(REALclassDefinition, more) == 100);

struct REALmoduleDefinition {
  std::int32_t version;
  const char* name;
  REALmethodDefinition* methods;
  std::int32_t methodCount;
  REALconstantDefinition* constants;
  std::int32_t constantCount;
  REALpropertyDefinition* properties;
  std::int32_t propertyCount;
  void* rows24;  // rows of 24 bytes
  std::int32_t rows24Count;
  void* rows28;  // rows of 28 bytes
  std::int32_t rows28Count;
  std::uint32_t more[12];  // zero; room for lists of newer runtimes
};
PIXMORPH_LAYOUT(sizeof(REALmoduleDefinition) == 96);
PIXMORPH_LAYOUT(offsetof(REALmoduleDefinition, constants) == 16);
PIXMORPH_LAYOUT(offsetof(REALmoduleDefinition, properties) == 24);
PIXMORPH_LAYOUT(offsetof(REALmoduleDefinition, rows28Count) == 44);

struct REALinterfaceDefinition {
  std::int32_t version;
  const char* name;
  REALmethodDefinition* methods;
  std::int32_t methodCount;
};
PIXMORPH_LAYOUT(sizeof(REALinterfaceDefinition) == 16);

struct REALcontrol {
  std::int32_t version;
  const char* name;
  std::int32_t dataSize;  // bytes per instance
  std::uint32_t flags;
  std::int32_t toolbarPicture;
  std::int32_t toolbarDownPicture;
  std::int32_t defaultWidth;
  std::int32_t defaultHeight;
  REALpropertyDefinition* properties;
  std::int32_t propertyCount;
  REALmethodDefinition* methods;
  std::int32_t methodCount;
  REALeventDefinition* events;
  std::int32_t eventCount;
  void* behaviour;
  void* reserved;
  void* eventInstances;
  std::int32_t eventInstanceCount;
  const char* interfaces;
  void* attributes;
  std::int32_t attributeCount;
  REALconstantDefinition* constants;
  std::int32_t constantCount;
};
PIXMORPH_LAYOUT(sizeof(REALcontrol) == 92);
PIXMORPH_LAYOUT(offsetof(REALcontrol, dataSize) == 8);

}  // namespace pixmorph

#endif  // PIXMORPH_HOST_RECORDS_H_
