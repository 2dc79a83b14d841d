#include "host/services.h"

#include "host/resolver.h"

namespace pixmorph {

#define PIXMORPH_SERVICE(result, function, name, parameters, arguments) \
  result function parameters {                                          \
    static HostService<result parameters> service(name);                \
    return service arguments;                                           \
  }
#define PIXMORPH_SERVICE_ELSE(result, function, name, parameters, arguments, value) \
  result function parameters {                                                      \
    static HostService<result parameters> service(name);                            \
    return service.Find() ? service arguments : value;                              \
  }
#include "host/services.def"

namespace {

// The runtime keeps one accessor per array and kind of access; it is fetched again on every call.
using AccessorFactory = HostService<void*(REALarrayStruct*)>;

template <class Type>
int InsertElement(AccessorFactory& factory, REALarrayStruct* array, int index, Type value) {
  using Insert = void (*)(REALarrayStruct*, int, Widened<Type>);
  const auto insert = reinterpret_cast<Insert>(factory(array));
  if (!insert) return 0;
  insert(array, index, value);
  return 1;
}

template <class Type>
int GetElement(AccessorFactory& factory, REALarrayStruct* array, int index, Type* value) {
  using Get = Widened<Type> (*)(REALarrayStruct*, int);
  const auto get = reinterpret_cast<Get>(factory(array));
  if (!get) return 0;
  // Nowhere to store: an element read now would be a reference that nobody gives back.
  if (value) *value = static_cast<Type>(get(array, index));
  return 1;
}

// Here the value comes before the index.
template <class Type>
int SetElement(AccessorFactory& factory, REALarrayStruct* array, int index, Type value) {
  using Set = void (*)(REALarrayStruct*, Widened<Type>, int);
  const auto set = reinterpret_cast<Set>(factory(array));
  if (!set) return 0;
  set(array, value, index);
  return 1;
}

}  // namespace

#define PIXMORPH_ARRAY_ELEMENT(suffix, type)                                        \
  int REALInsertArrayValue##suffix(REALarrayStruct* array, int index, type value) { \
    static AccessorFactory factory("RuntimeArrayDirectGetInsertProc");              \
    return InsertElement<type>(factory, array, index, value);                       \
  }                                                                                 \
  int REALGetArrayValue##suffix(REALarrayStruct* array, int index, type* value) {   \
    static AccessorFactory factory("RuntimeArrayDirectGetGetProc");                 \
    return GetElement<type>(factory, array, index, value);                          \
  }                                                                                 \
  int REALSetArrayValue##suffix(REALarrayStruct* array, int index, type value) {    \
    static AccessorFactory factory("RuntimeArrayDirectGetSetProc");                 \
    return SetElement<type>(factory, array, index, value);                          \
  }
#include "host/services.def"

}  // namespace pixmorph
