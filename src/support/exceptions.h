#ifndef PIXMORPH_SUPPORT_EXCEPTIONS_H_
#define PIXMORPH_SUPPORT_EXCEPTIONS_H_

#include "host/types.h"

// Exceptions of the application's language. Raising hands an exception to the runtime and returns; the method
// then finishes and returns its own failure result. Without the runtime's services nothing happens.
namespace pixmorph {

// The runtime's exception classes that the plugin names.
constexpr const char* kNilObjectException = "NilObjectException";
constexpr const char* kOutOfMemoryException = "OutOfMemoryException";
constexpr const char* kOutOfBoundsException = "OutOfBoundsException";
constexpr const char* kUnsupportedOperationException = "UnsupportedOperationException";
constexpr const char* kRuntimeException = "RuntimeException";

// Raises an instance of the class, or of RuntimeException when there is no such class. Strings passed in stay
// the caller's; a null message gives an exception without one. [calls host]
void RaiseException(char const* className, REALstringStruct* message, int errorNumber);
void RaiseException(char const* className, REALstringStruct* message);
// The message is the three parts joined.
void RaiseException(char const* className, REALstringStruct* part1, REALstringStruct* part2,
                    REALstringStruct* part3);

// The same with C strings in the given encoding; null and empty texts give no message. [calls host]
void RaiseException(char const* className, char const* message, unsigned long encoding, int errorNumber);
void RaiseException(char const* className, char const* message, unsigned long encoding);
void RaiseException(char const* className, char const* part1, char const* part2, char const* part3,
                    unsigned long encoding);

// For features that need QuickTime. [calls host]
void RaiseQuickTimeException();

// For a `value` outside `lower` .. `upper` - 1. Null names are allowed. [calls host]
void RaiseOutOfBoundsException(long long value, long long lower, long long upper, char const* parameterName,
                               char const* methodName);

}  // namespace pixmorph

#endif  // PIXMORPH_SUPPORT_EXCEPTIONS_H_
