#include "standin/objects.h"

#include "standin/internal/array_object.h"
#include "standin/internal/object.h"
#include "standin/internal/state.h"

namespace standin {
namespace {

Ref FromRuntime(Object* object) { return Ref::Adopt(object); }

const Instance* AsInstance(const void* handle) { return Objects().As<Instance>(handle, "the test"); }

const StringObject* MessageOf(const void* exception) {
  const auto& objects = AsInstance(exception)->objects;
  const auto found = objects.find("Message");
  return found == objects.end() ? nullptr : static_cast<const StringObject*>(found->second.Get());
}

}  // namespace

Ref::Ref(void* handle) : handle_(handle), epoch_(Objects().Epoch()) {}

Ref Ref::Adopt(void* handle) {
  if (handle == nullptr) return Ref();
  Objects().Transfer(Objects().Live(handle, "the test"), Holder::kPlugin, Holder::kTest,
                     "taking over a result");
  return Ref(handle);
}

Ref Ref::Retain(void* handle) {
  if (handle == nullptr) return Ref();
  Objects().Retain(Objects().Live(handle, "the test"), Holder::kTest);
  return Ref(handle);
}

Ref::Ref(const Ref& other) : Ref(Retain(other.handle_)) {}

void* Ref::Detach() {
  if (handle_ != nullptr) {
    Objects().Transfer(Objects().Live(handle_, "the test"), Holder::kTest, Holder::kPlugin, "the test");
  }
  return std::exchange(handle_, nullptr);
}

void Ref::Release() {
  void* handle = std::exchange(handle_, nullptr);
  if (handle == nullptr || epoch_ != Objects().Epoch()) return;
  Objects().Release(Objects().Live(handle, "the test"), Holder::kTest, "the test");
}

int ReferenceCount(const void* handle) { return Objects().Live(handle, "the test")->references; }
std::string ClassOf(const void* handle) { return Objects().Live(handle, "the test")->type->name; }

Ref NewString(const std::string& bytes, std::uint32_t encoding) {
  return FromRuntime(new StringObject(bytes, encoding));
}
std::string StringBytes(const void* string) { return Objects().As<StringObject>(string, "the test")->bytes; }
std::uint32_t StringEncoding(const void* string) {
  return Objects().As<StringObject>(string, "the test")->encoding;
}

Ref NewMemoryBlock(const std::vector<std::uint8_t>& bytes) {
  auto* block = new MemoryBlockObject(bytes.size());
  block->bytes = bytes;
  return FromRuntime(block);
}
std::vector<std::uint8_t> MemoryBlockBytes(const void* block) {
  return Objects().As<MemoryBlockObject>(block, "the test")->bytes;
}

Ref NewFolderItem(const std::string& path) { return FromRuntime(new FolderItemObject(path)); }
Ref NewObject(const std::string& className) { return FromRuntime(new Instance(FindClass(className, true))); }

bool ExceptionHasMessage(const void* exception) { return MessageOf(exception) != nullptr; }
std::string ExceptionMessage(const void* exception) {
  const StringObject* message = MessageOf(exception);
  return message == nullptr ? std::string() : message->bytes;
}
std::uint32_t ExceptionEncoding(const void* exception) {
  const StringObject* message = MessageOf(exception);
  return message == nullptr ? kNoEncoding : message->encoding;
}
int ExceptionErrorNumber(const void* exception) {
  const auto& integers = AsInstance(exception)->integers;
  const auto found = integers.find("ErrorNumber");
  return found == integers.end() ? 0 : found->second;
}

Ref NewArray(Element element) { return FromRuntime(new ArrayObject(element)); }
int ArraySize(const void* array) {
  return static_cast<int>(Objects().As<ArrayObject>(array, "the test")->Size());
}

}  // namespace standin
