#include "support/exceptions.h"

#include <cstdio>
#include <cstring>

#include "host/services.h"
#include "support/numeric.h"
#include "support/owned.h"
#include "support/owned_string.h"
#include "support/strings.h"

namespace pixmorph {
namespace {

// Room for the fixed words and three 64-bit numbers of the message below.
constexpr std::int64_t kBoundsTextBytes = 200;

HostRef<REALobjectStruct> NewException(char const* className) {
  if (REALobjectStruct* exception = REALnewInstance(className))
    return HostRef<REALobjectStruct>::Adopt(exception);
  return HostRef<REALobjectStruct>::Adopt(REALnewInstance(kRuntimeException));
}

HostString StringOf(char const* text, unsigned long encoding) {
  return HostString(CString2RBmax(text, encoding, 0));
}

}  // namespace

void RaiseException(char const* className, REALstringStruct* message, int errorNumber) {
  const HostRef<REALobjectStruct> exception = NewException(className);
  if (!exception) return;
  REALSetPropValueString(exception.Get(), "Message", message);
  REALSetPropValueInt32(exception.Get(), "ErrorNumber", errorNumber);
  REALRaiseException(exception.Get());
}

void RaiseException(char const* className, REALstringStruct* message) {
  RaiseException(className, message, 0);
}

void RaiseException(char const* className, REALstringStruct* part1, REALstringStruct* part2,
                    REALstringStruct* part3) {
  const HostString firstTwo(REALAddStrings(part1, part2));
  const HostString message(REALAddStrings(firstTwo.Get(), part3));
  RaiseException(className, message.Get(), 0);
}

void RaiseException(char const* className, char const* message, unsigned long encoding, int errorNumber) {
  const HostString string = StringOf(message, encoding);
  RaiseException(className, string.Get(), errorNumber);
}

void RaiseException(char const* className, char const* message, unsigned long encoding) {
  RaiseException(className, message, encoding, 0);
}

void RaiseException(char const* className, char const* part1, char const* part2, char const* part3,
                    unsigned long encoding) {
  const HostString string1 = StringOf(part1, encoding);
  const HostString string2 = StringOf(part2, encoding);
  const HostString string3 = StringOf(part3, encoding);
  RaiseException(className, string1.Get(), string2.Get(), string3.Get());
}

void RaiseQuickTimeException() {
  RaiseException(kUnsupportedOperationException, "QuickTime not available on Linux.", kEncodingASCII);
}

void RaiseOutOfBoundsException(long long value, long long lower, long long upper, char const* parameterName,
                               char const* methodName) {
  if (!parameterName) parameterName = "?";
  if (!methodName) methodName = "";
  const std::int64_t bytes = ByteSize(static_cast<std::int64_t>(std::strlen(parameterName)))
                                 .Plus(static_cast<std::int64_t>(std::strlen(methodName)))
                                 .Plus(kBoundsTextBytes)
                                 .Bytes();
  const WorkBuffer<char> text(bytes);
  if (!text) return RaiseException(kOutOfBoundsException, "Out of Bounds", kEncodingASCII);
  const char* connection = *methodName ? "to method " : "";
  const char* fault = value >= lower ? "big" : "small";
  // Formed without sign: the lowest bound of all has no predecessor.
  const auto last = static_cast<long long>(static_cast<unsigned long long>(upper) - 1);
  std::snprintf(text.Get(), static_cast<std::size_t>(bytes),
                "Parameter %s %s%s is too %s. Range is %lld to %lld, but value is %lld.", parameterName,
                connection, methodName, fault, lower, last, value);
  RaiseException(kOutOfBoundsException, text.Get(), kEncodingASCII);
}

}  // namespace pixmorph
