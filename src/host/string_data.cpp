#include <cstdlib>
#include <cstring>

#include "host/service_slots.h"

// A string's bytes in an encoding, also on runtimes that have no service for it.
namespace pixmorph {
namespace {

using LengthInBytes = int (*)(REALstringStruct*);
constexpr std::uint32_t kTerminatorBytes = 4;

LengthInBytes gLenB = nullptr;

LengthInBytes FindLenB() {
  if (!gLenB)
    gLenB = reinterpret_cast<LengthInBytes>(REALLoadFrameworkMethod("LenB( s as string ) as integer"));
  return gLenB;
}

// A string in the encoding asked for: the given one where it has it already, otherwise a converted one, which
// is given back with this.
class StringInEncoding {
 public:
  StringInEncoding(REALstringStruct* string, unsigned long encoding) : string_(string) {
    if (encoding == kEncodingUnknown || encoding == REALGetStringEncoding(string)) return;
    string_ = converted_ = REALConvertString(string, encoding);
  }
  StringInEncoding(const StringInEncoding&) = delete;
  StringInEncoding& operator=(const StringInEncoding&) = delete;
  ~StringInEncoding() {
    if (converted_) REALUnlockString(converted_);
  }
  REALstringStruct* Get() const { return string_; }

 private:
  REALstringStruct* string_;
  REALstringStruct* converted_ = nullptr;
};

// A copy of `length` bytes and the terminator after them, from the C library; null when memory is short.
void* CopyWithTerminator(const void* bytes, std::uint32_t length) {
  auto* copy = static_cast<char*>(std::malloc(std::size_t{length} + kTerminatorBytes));
  if (!copy) return nullptr;
  if (length > 0) std::memcpy(copy, bytes, length);
  std::memset(copy + length, 0, kTerminatorBytes);
  return copy;
}

int ReadStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) {
  const bool haveBytes = slots::StringGetCString.Find() != nullptr;
  const LengthInBytes lenB = FindLenB();
  if (!haveBytes || !lenB || !string) return 0;
  const StringInEncoding used(string, encoding);
  if (!used.Get()) return 0;
  const int length = lenB(used.Get());
  const void* bytes = slots::StringGetCString(used.Get());
  if (length < 0 || (length > 0 && !bytes)) return 0;
  void* copy = CopyWithTerminator(bytes, static_cast<std::uint32_t>(length));
  if (!copy) return 0;
  *out = REALstringData{copy, static_cast<std::uint32_t>(length), static_cast<std::uint32_t>(encoding)};
  return 1;
}

}  // namespace

int REALGetStringData(REALstringStruct* string, unsigned long encoding, REALstringData* out) {
  return slots::REALGetStringData.Find() ? slots::REALGetStringData(string, encoding, out)
                                         : ReadStringData(string, encoding, out);
}

void REALDisposeStringData(REALstringData* record) {
  if (slots::REALDisposeStringData.Find()) return slots::REALDisposeStringData(record);
  std::free(record->data);
  record->data = nullptr;
}

}  // namespace pixmorph
