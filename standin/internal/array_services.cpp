#include <cstring>

#include "standin/internal/array_object.h"
#include "standin/internal/service.h"

namespace standin {
namespace {

ArrayObject* AsArray(void* handle) { return Objects().As<ArrayObject>(handle, "an array service"); }

template <class T>
std::uint64_t ToCell(T value) {
  std::uint64_t cell = 0;
  std::memcpy(&cell, &value, sizeof value);
  return cell;
}

// The element accessors of one type. A narrow element is passed in a whole word, as compiled script does.
template <class T>
struct Accessors {
  static int Insert(void* handle, int index, T value) {
    ArrayObject* array = AsArray(handle);
    if (index != static_cast<int>(array->Size()) && !array->Has(index)) return HostBoolean(false);
    array->Keep(ToCell(value));
    array->cells.insert(array->cells.begin() + index, ToCell(value));
    return HostBoolean(true);
  }
  static int Set(void* handle, T value, int index) {
    ArrayObject* array = AsArray(handle);
    if (!array->Has(index)) return HostBoolean(false);
    array->Keep(ToCell(value));
    array->Drop(std::exchange(array->cells[static_cast<std::size_t>(index)], ToCell(value)));
    return HostBoolean(true);
  }
  // Hands out strings and objects with a reference for the caller.
  static T Get(void* handle, int index) {
    ArrayObject* array = AsArray(handle);
    T value{};
    if (!array->Has(index)) return value;
    std::memcpy(&value, &array->cells[static_cast<std::size_t>(index)], sizeof value);
    if constexpr (std::is_pointer_v<T>) {
      if (array->HoldsReferences() && value != nullptr) {
        Objects().Retain(Objects().Live(value, "an array service"), Holder::kPlugin);
      }
    }
    return value;
  }
};

enum class Access { kInsert, kSet, kGet };

template <class T>
void* Pick(Access access) {
  if (access == Access::kInsert) return reinterpret_cast<void*>(&Accessors<T>::Insert);
  if (access == Access::kSet) return reinterpret_cast<void*>(&Accessors<T>::Set);
  return reinterpret_cast<void*>(&Accessors<T>::Get);
}

void* AccessorFor(void* handle, Access access) {
  switch (AsArray(handle)->element) {
    case Element::kInt8:
      return Pick<std::int8_t>(access);
    case Element::kInt16:
      return Pick<std::int16_t>(access);
    case Element::kInt32:
      return Pick<std::int32_t>(access);
    case Element::kInt64:
      return Pick<std::int64_t>(access);
    case Element::kUInt8:
      return Pick<std::uint8_t>(access);
    case Element::kUInt16:
      return Pick<std::uint16_t>(access);
    case Element::kUInt32:
      return Pick<std::uint32_t>(access);
    case Element::kUInt64:
      return Pick<std::uint64_t>(access);
    case Element::kSingle:
      return Pick<float>(access);
    case Element::kDouble:
      return Pick<double>(access);
    case Element::kString:
    case Element::kText:
    case Element::kObject:
      return Pick<void*>(access);
  }
  return nullptr;
}

void* InsertAccessor(void* array) { return AccessorFor(array, Access::kInsert); }
void* SetAccessor(void* array) { return AccessorFor(array, Access::kSet); }
void* GetAccessor(void* array) { return AccessorFor(array, Access::kGet); }

int UpperBound(void* array) { return static_cast<int>(AsArray(array)->Size()) - 1; }
int ReadInt(void* array, int index) { return Accessors<std::int32_t>::Get(array, index); }
void* ReadString(void* array, int index) { return Accessors<void*>::Get(array, index); }
void* ReadObject(void* array, int index) { return Accessors<void*>::Get(array, index); }

Object* Target(std::uint64_t cell) {
  void* handle;
  std::memcpy(&handle, &cell, sizeof handle);
  return handle == nullptr ? nullptr : Objects().Live(handle, "an array service");
}

}  // namespace

void ArrayObject::Keep(std::uint64_t cell) {
  if (!HoldsReferences()) return;
  if (Object* object = Target(cell)) Objects().Retain(object, Holder::kRuntime);
}

void ArrayObject::Drop(std::uint64_t cell) {
  if (!HoldsReferences()) return;
  if (Object* object = Target(cell)) Objects().Release(object, Holder::kRuntime, "an array");
}

void ArrayObject::Dispose() {
  // When everything is forgotten at once, the elements are dead already.
  for (const std::uint64_t cell : cells) {
    void* handle;
    std::memcpy(&handle, &cell, sizeof handle);
    if (HoldsReferences() && handle != nullptr && static_cast<Object*>(handle)->live) Drop(cell);
  }
  cells = {};
}

void DefineArrayServices() {
  Define<&InsertAccessor>("RuntimeArrayDirectGetInsertProc");
  Define<&SetAccessor>("RuntimeArrayDirectGetSetProc");
  Define<&GetAccessor>("RuntimeArrayDirectGetGetProc");
  Define<&UpperBound>("RuntimeUBound");
  Define<&ReadInt>("RuntimeDirectReadIntArray");
  Define<&ReadString>("RuntimeDirectReadStringArray");
  Define<&ReadObject>("RuntimeDirectReadObjectArray");
}

}  // namespace standin
