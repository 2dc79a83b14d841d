#ifndef PIXMORPH_SUPPORT_STRINGS_H_
#define PIXMORPH_SUPPORT_STRINGS_H_

#include "host/types.h"

// Runtime strings made of the plugin's text. All give null for a null pointer, an empty text, or when the
// runtime makes none; otherwise one reference for the caller (`REALUnlockString`). [calls host]
namespace pixmorph {

// `length` bytes in `encoding`. One-byte text that is ASCII is labelled so; UTF-16 and UTF-32 become UTF-8 on
// runtimes that can build them. When the runtime throws for lack of memory, raises OutOfMemoryException.
REALstringStruct* REALBuildUnicodeString(void const* data, long long length, unsigned long encoding);

// `length` bytes of UTF-16 in the machine's byte order. Lets every exception pass.
REALstringStruct* REALBuildUnicodeStringUTF16(void const* data, long long length);

// `length` bytes of UTF-32 units; characters above 0xFFFF are lost on runtimes before 2012.0. Lets every
// exception pass.
REALstringStruct* REALBuildUnicodeStringUTF32(void const* data, long long length);

// A C string, cut to `maxLength` bytes where that is 1 or more.
REALstringStruct* CString2RBmax(char const* text, unsigned long encoding, int maxLength);

// Zero-terminated UTF-16 and UTF-32.
REALstringStruct* UnicodeCString2RB(unsigned short const* text);
REALstringStruct* UnicodeCString2RB(wchar_t const* text);

// The four bytes of a four-character code, most significant first; MacRoman unless all are ASCII.
REALstringStruct* REALBuildOSTypeString(unsigned long code);

}  // namespace pixmorph

#endif  // PIXMORPH_SUPPORT_STRINGS_H_
