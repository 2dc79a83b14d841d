#include "standin/internal/text_conversion.h"

#include <cstring>

#include "standin/objects.h"

namespace standin {
namespace {

using Decoded = std::optional<std::u32string>;

Decoded DecodeBytes(const std::string& bytes, unsigned limit) {
  std::u32string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    if (value >= limit) return std::nullopt;
    text.push_back(value);
  }
  return text;
}

Decoded DecodeUtf8(const std::string& bytes) {
  std::u32string text;
  for (std::size_t i = 0; i < bytes.size();) {
    const auto lead = static_cast<unsigned char>(bytes[i++]);
    int more = 0;
    char32_t character = lead;
    if (lead >= 0xF0) {
      more = 3;
      character = lead & 0x07u;
    } else if (lead >= 0xE0) {
      more = 2;
      character = lead & 0x0Fu;
    } else if (lead >= 0xC0) {
      more = 1;
      character = lead & 0x1Fu;
    } else if (lead >= 0x80) {
      return std::nullopt;
    }
    for (; more > 0; --more) {
      if (i >= bytes.size() || (bytes[i] & 0xC0) != 0x80) return std::nullopt;
      character = (character << 6) | (static_cast<unsigned char>(bytes[i++]) & 0x3Fu);
    }
    text.push_back(character);
  }
  return text;
}

template <class Unit>
std::basic_string<Unit> Units(const std::string& bytes) {
  std::basic_string<Unit> units(bytes.size() / sizeof(Unit), Unit{});
  std::memcpy(units.data(), bytes.data(), units.size() * sizeof(Unit));
  return units;
}

Decoded DecodeUtf16(const std::string& bytes) {
  const auto units = Units<char16_t>(bytes);
  std::u32string text;
  for (std::size_t i = 0; i < units.size(); ++i) {
    const char32_t unit = units[i];
    const bool pair = unit >= 0xD800 && unit < 0xDC00 && i + 1 < units.size();
    text.push_back(pair ? 0x10000 + ((unit - 0xD800) << 10) + (units[++i] - 0xDC00u) : unit);
  }
  return text;
}

Decoded Decode(const std::string& bytes, std::uint32_t encoding) {
  switch (encoding) {
    case kAscii:
      return DecodeBytes(bytes, 0x80);
    case kWindowsLatin1:
      return DecodeBytes(bytes, 0x100);
    case kUtf8:
      return DecodeUtf8(bytes);
    case kUtf16:
      return DecodeUtf16(bytes);
    case kUtf32:
      return Units<char32_t>(bytes);
    default:
      return std::nullopt;
  }
}

std::string EncodeBytes(const std::u32string& text, char32_t limit) {
  std::string bytes;
  for (const char32_t character : text) {
    bytes.push_back(character < limit ? static_cast<char>(character) : '?');
  }
  return bytes;
}

std::string EncodeUtf8(const std::u32string& text) {
  std::string bytes;
  for (const char32_t character : text) {
    const int more = character < 0x80 ? 0 : character < 0x800 ? 1 : character < 0x10000 ? 2 : 3;
    constexpr unsigned kLead[] = {0x00, 0xC0, 0xE0, 0xF0};
    bytes.push_back(static_cast<char>(kLead[more] | (character >> (6 * more))));
    for (int i = more - 1; i >= 0; --i) {
      bytes.push_back(static_cast<char>(0x80u | ((character >> (6 * i)) & 0x3Fu)));
    }
  }
  return bytes;
}

std::u16string EncodeUtf16(const std::u32string& text) {
  std::u16string units;
  for (const char32_t character : text) {
    if (character < 0x10000) {
      units.push_back(static_cast<char16_t>(character));
    } else {
      units.push_back(static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10)));
      units.push_back(static_cast<char16_t>(0xDC00 + ((character - 0x10000) & 0x3FF)));
    }
  }
  return units;
}

template <class Unit>
std::string Bytes(const std::basic_string<Unit>& units) {
  return {reinterpret_cast<const char*>(units.data()), units.size() * sizeof(Unit)};
}

}  // namespace

std::optional<std::string> ConvertText(const std::string& bytes, std::uint32_t from, std::uint32_t to) {
  const Decoded text = Decode(bytes, from);
  if (!text) return std::nullopt;
  switch (to) {
    case kAscii:
      return EncodeBytes(*text, 0x80);
    case kWindowsLatin1:
      return EncodeBytes(*text, 0x100);
    case kUtf8:
      return EncodeUtf8(*text);
    case kUtf16:
      return Bytes(EncodeUtf16(*text));
    case kUtf32:
      return Bytes(*text);
    default:
      return std::nullopt;
  }
}

}  // namespace standin
