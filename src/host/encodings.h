#ifndef PIXMORPH_HOST_ENCODINGS_H_
#define PIXMORPH_HOST_ENCODINGS_H_

// Text encoding codes of runtime strings.
namespace pixmorph {

constexpr unsigned long kEncodingMacRoman = 0x0000;
constexpr unsigned long kEncodingUTF16 = 0x0100;  // in the machine's byte order
constexpr unsigned long kEncodingWindowsLatin1 = 0x0500;
constexpr unsigned long kEncodingASCII = 0x0600;
constexpr unsigned long kEncodingUTF8 = 0x08000100;
constexpr unsigned long kEncodingUTF32 = 0x0C000100;
constexpr unsigned long kEncodingUnknown = 0xFFFF;

}  // namespace pixmorph

#endif  // PIXMORPH_HOST_ENCODINGS_H_
