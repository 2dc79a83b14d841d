#include <cstdlib>
#include <cstring>

#include "standin/internal/object.h"
#include "standin/internal/service.h"
#include "standin/internal/text_conversion.h"
#include "standin/ledger.h"
#include "standin/objects.h"

namespace standin {
namespace {

StringObject* AsString(void* handle, const char* user) { return Objects().As<StringObject>(handle, user); }

void* BuildWithEncoding(const char* bytes, int length, std::uint32_t encoding) {
  if (length < 0) StopRun("a string of negative length was asked for");
  return new StringObject(std::string(bytes, static_cast<std::size_t>(length)), encoding);
}
void* Build(const char* bytes, int length) { return BuildWithEncoding(bytes, length, kNoEncoding); }

void SetEncoding(void* string, std::uint32_t encoding) {
  AsString(string, "REALSetStringEncoding")->encoding = encoding;
}
std::uint32_t GetEncoding(void* string) {
  return string == nullptr ? kNoEncoding : AsString(string, "REALGetStringEncoding")->encoding;
}

void* Convert(void* string, std::uint32_t encoding) {
  const StringObject* text = AsString(string, "REALConvertString");
  const auto converted = ConvertText(text->bytes, text->encoding, encoding);
  return converted ? new StringObject(*converted, encoding) : nullptr;
}

// nil is the empty string. The result has the encoding of the first part that has any text.
void* Join(void* first, void* second) {
  const StringObject* a = first == nullptr ? nullptr : AsString(first, "RuntimeAddString");
  const StringObject* b = second == nullptr ? nullptr : AsString(second, "RuntimeAddString");
  if (a == nullptr && b == nullptr) return nullptr;
  std::string bytes = a == nullptr ? std::string() : a->bytes;
  if (b != nullptr) bytes += b->bytes;
  return new StringObject(bytes, a != nullptr ? a->encoding : b->encoding);
}

int Compare(void* first, void* second, int) {
  const std::string a = first == nullptr ? "" : AsString(first, "RuntimeStringCompare")->bytes;
  const std::string b = second == nullptr ? "" : AsString(second, "RuntimeStringCompare")->bytes;
  return a < b ? -1 : static_cast<int>(a > b);
}

void Lock(void* string) { Objects().Retain(AsString(string, "REALLockString"), Holder::kPlugin); }
void Unlock(void* string) {
  Objects().Release(AsString(string, "REALUnlockString"), Holder::kPlugin, "REALUnlockString");
}

const char* CString(void* string) { return AsString(string, "StringGetCString")->bytes.c_str(); }
int LengthInBytes(void* string) {
  return string == nullptr ? 0 : static_cast<int>(AsString(string, "LenB")->bytes.size());
}

struct StringData {
  void* data;
  std::uint32_t length;
  std::uint32_t encoding;
};

int GetData(void* string, std::uint32_t encoding, StringData* out) {
  if (string == nullptr) return HostBoolean(false);
  const StringObject* text = AsString(string, "PluginGetStringData");
  std::string bytes = text->bytes;
  if (encoding != kNoEncoding && encoding != text->encoding) {
    const auto converted = ConvertText(text->bytes, text->encoding, encoding);
    if (!converted) return HostBoolean(false);
    bytes = *converted;
  }
  out->length = static_cast<std::uint32_t>(bytes.size());
  out->encoding = encoding;
  bytes.append(4, '\0');
  out->data = std::malloc(bytes.size());
  std::memcpy(out->data, bytes.data(), bytes.size());
  return HostBoolean(true);
}
void DisposeData(StringData* record) { std::free(std::exchange(record->data, nullptr)); }

std::uint32_t SystemEncoding() { return kUtf8; }
std::uint32_t FontEncoding(const char*) { return kUtf8; }

}  // namespace

void DefineStringServices() {
  Define<&Build>("REALBuildString");
  Define<&BuildWithEncoding>("REALBuildStringWithEncoding");
  Define<&SetEncoding>("REALSetStringEncoding");
  Define<&GetEncoding>("REALGetStringEncoding");
  Define<&Convert>("REALConvertString");
  Define<&Join>("RuntimeAddString");
  Define<&Compare>("RuntimeStringCompare");
  Define<&Lock>("REALLockString");
  Define<&Unlock>("REALUnlockString");
  Define<&CString>("StringGetCString");
  Define<&GetData>("PluginGetStringData");
  Define<&DisposeData>("PluginDisposeStringData");
  Define<&SystemEncoding>("REALGetSystemTextEncoding");
  Define<&FontEncoding>("REALGetFontEncoding");
  DefineMethod<&LengthInBytes>(nullptr, "LenB( s as string ) as integer");
}

}  // namespace standin
