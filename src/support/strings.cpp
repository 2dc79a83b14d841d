#include "support/strings.h"

#include <cstring>
#include <new>

#include "host/services.h"
#include "host/versions.h"
#include "support/exceptions.h"
#include "support/owned.h"
#include "support/owned_string.h"

namespace pixmorph {
namespace {

constexpr long long kMaxBytes = 0x7FFFFFFF;
constexpr int kFixedUnits = 200;  // of the buffer for short texts, the terminator's place included

bool IsBuildable(void const* data, long long length) { return data && length >= 1 && length <= kMaxBytes; }

bool IsAscii(void const* data, long long length) {
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (long long i = 0; i < length; ++i)
    if (bytes[i] & 0x80) return false;
  return true;
}

REALstringStruct* BuildLabelled(void const* data, long long length, unsigned long encoding) {
  HostString string(originalREALBuildString(static_cast<const char*>(data), static_cast<int>(length)));
  if (string) REALSetStringEncoding(string.Get(), encoding);
  return string.Detach();
}

REALstringStruct* BuildAsUtf8(void const* data, long long length, unsigned long encoding) {
  const auto* bytes = static_cast<const char*>(data);
  const HostString string(REALBuildStringWithEncoding(bytes, static_cast<int>(length), encoding));
  return string ? REALConvertString(string.Get(), kEncodingUTF8) : nullptr;
}

// The low halves of `count` 32-bit units; `data` may have any alignment.
void CutToUtf16(void const* data, long long count, std::uint16_t* units) {
  const auto* bytes = static_cast<const char*>(data);
  for (long long i = 0; i < count; ++i) std::memcpy(units + i, bytes + 4 * i, sizeof(std::uint16_t));
}

REALstringStruct* BuildCutToUtf16(void const* data, long long length) {
  const long long count = length / 4;
  std::uint16_t fixed[kFixedUnits] = {};
  WorkBuffer<std::uint16_t> allocated;
  std::uint16_t* units = fixed;
  if (count >= kFixedUnits) {
    allocated = WorkBuffer<std::uint16_t>(2 * count + 4);
    if (!allocated) return nullptr;
    units = allocated.Get();
  }
  CutToUtf16(data, count, units);
  return BuildLabelled(units, 2 * count, kEncodingUTF16);
}

// A text that is ASCII is called so, whatever one-byte encoding it came with.
unsigned long NarrowestEncoding(void const* data, long long length, unsigned long encoding) {
  const bool mayBeAscii =
      encoding == kEncodingWindowsLatin1 || encoding == kEncodingMacRoman || encoding == kEncodingUnknown;
  return mayBeAscii && IsAscii(data, length) ? kEncodingASCII : encoding;
}

REALstringStruct* Build(void const* data, long long length, unsigned long encoding) {
  if (!IsBuildable(data, length)) return nullptr;
  if (encoding == kEncodingUTF32) return REALBuildUnicodeStringUTF32(data, length);
  if (encoding == kEncodingUTF16) return REALBuildUnicodeStringUTF16(data, length);
  return BuildLabelled(data, length, NarrowestEncoding(data, length, encoding));
}

// False when the runtime's memory ran out.
bool TryBuild(void const* data, long long length, unsigned long encoding, REALstringStruct** string) {
  try {
    *string = Build(data, length, encoding);
    return true;
  } catch (const std::bad_alloc&) {
    *string = nullptr;
    return false;
  }
}

// Does not come back here when there is no memory for the message either: the exception then has none.
void RaiseOutOfMemory() {
  constexpr char kMessage[] = "Failed to allocate memory for a string.";
  REALstringStruct* built = nullptr;
  (void)TryBuild(kMessage, sizeof kMessage - 1, kEncodingASCII, &built);
  const HostString message(built);
  RaiseException(kOutOfMemoryException, message.Get());
}

template <class Unit>
REALstringStruct* BuildTerminated(Unit const* text, unsigned long encoding) {
  if (!text) return nullptr;
  long long count = 0;
  while (text[count] != 0) ++count;
  return REALBuildUnicodeString(text, count * static_cast<long long>(sizeof(Unit)), encoding);
}

}  // namespace

REALstringStruct* REALBuildUnicodeString(void const* data, long long length, unsigned long encoding) {
  REALstringStruct* string = nullptr;
  if (!TryBuild(data, length, encoding, &string)) RaiseOutOfMemory();
  return string;
}

REALstringStruct* REALBuildUnicodeStringUTF16(void const* data, long long length) {
  if (!IsBuildable(data, length)) return nullptr;
  if (!RuntimeAtLeast(kVersionEncodedStrings)) return BuildLabelled(data, length, kEncodingUTF16);
  return BuildAsUtf8(data, length, kEncodingUTF16);
}

REALstringStruct* REALBuildUnicodeStringUTF32(void const* data, long long length) {
  if (!IsBuildable(data, length)) return nullptr;
  if (!RuntimeAtLeast(kVersionEncodedStrings)) return BuildCutToUtf16(data, length);
  return BuildAsUtf8(data, length, kEncodingUTF32);
}

REALstringStruct* CString2RBmax(char const* text, unsigned long encoding, int maxLength) {
  if (!text) return nullptr;
  const std::size_t length =
      maxLength > 0 ? strnlen(text, static_cast<std::size_t>(maxLength)) : std::strlen(text);
  return REALBuildUnicodeString(text, static_cast<long long>(length), encoding);
}

REALstringStruct* UnicodeCString2RB(unsigned short const* text) {
  return BuildTerminated(text, kEncodingUTF16);
}

REALstringStruct* UnicodeCString2RB(wchar_t const* text) { return BuildTerminated(text, kEncodingUTF32); }

REALstringStruct* REALBuildOSTypeString(unsigned long code) {
  const char bytes[4] = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                         static_cast<char>(code >> 8), static_cast<char>(code)};
  return REALBuildUnicodeString(bytes, sizeof bytes, kEncodingMacRoman);
}

}  // namespace pixmorph
