// How a text stands in an attribute of the document.
//
// XML 1.0 cannot hold control characters (but tab, line feed and carriage return), surrogates,
// U+FFFE, U+FFFF and values beyond U+10FFFF. Each of them is written as "{U+HEX}" with 4 to 8
// upper-case hexadecimal digits; a brace that begins a text which looks like that is written so
// too, as "{U+007B}". Everything else is itself, in UTF-8. NUL would end the text in the fields of
// hosts, so nothing names it: "{U+0000}" is the eight characters that it looks like, and the one
// NUL that a host may put in comes back as them. What XML reserves (angle brackets,
// quotes, tab and so on) is the XML engine's to escape.
//
// Templates for any width of character, so that the branch for 2-byte characters is tested on
// systems with 4-byte ones too.
//
// Threads: any; no state. Errors: none but std::bad_alloc; every text without NUL comes back as
// it went in.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

#include "platform/os/utf8_codec.h"

namespace xml_text {

inline constexpr std::size_t kMinDigits = 4;
inline constexpr std::size_t kMaxDigits = 8;

// XML 1.0's production Char.
constexpr bool IsXmlChar(char32_t codePoint) {
  if (codePoint < 0x20) return codePoint == 0x9 || codePoint == 0xA || codePoint == 0xD;
  if (codePoint < 0xD800) return true;
  if (codePoint < 0xE000) return false;
  return codePoint <= os::utf8_codec::kLastCodePoint && codePoint != 0xFFFE && codePoint != 0xFFFF;
}

// An escape found in a text.
struct Escape {
  std::uint32_t value = 0;
  std::size_t lengthUnits = 0;  // 0: there is none
};

// The digit's value; 16 for what is none.
constexpr std::uint32_t HexDigit(std::uint32_t ch) {
  if (ch >= '0' && ch <= '9') return ch - '0';
  return ch >= 'A' && ch <= 'F' ? ch - 'A' + 10 : 16;
}

// The escape that begins at `at`, if its value is one that a Char can hold.
template <typename Char, typename Unit>
constexpr Escape EscapeAt(std::basic_string_view<Unit> text, std::size_t at) {
  const auto unit = [&](std::size_t i) -> std::uint32_t {
    return at + i < text.size()
               ? static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Unit>>(text[at + i]))
               : 0;
  };
  if (unit(0) != '{' || unit(1) != 'U' || unit(2) != '+') return {};
  std::uint32_t value = 0;
  std::size_t i = 3;
  for (; i < 3 + kMaxDigits && HexDigit(unit(i)) < 16; ++i) value = value * 16 + HexDigit(unit(i));
  if (i < 3 + kMinDigits || unit(i) != '}' || value == 0) return {};
  if (sizeof(Char) == 2 && value > 0xFFFF) return {};
  return {value, i + 1};
}

inline void AppendEscape(std::string& bytes, std::uint32_t value) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  bytes += "{U+";
  for (int shift = value > 0xFFFF ? 28 : 12; shift >= 0; shift -= 4) {
    bytes += kDigits[(value >> shift) & 15];
  }
  bytes += '}';
}

// One unit of a text as a number; units are unsigned whatever the system says of wchar_t.
template <typename Char>
constexpr std::uint32_t UnitAt(std::basic_string_view<Char> text, std::size_t at) {
  if constexpr (sizeof(Char) == 2) return static_cast<std::uint16_t>(text[at]);
  return static_cast<std::uint32_t>(text[at]);
}

// The code point at `at`, moved behind it; a lone surrogate is its own.
template <typename Char>
constexpr std::uint32_t NextUnitOrPair(std::basic_string_view<Char> text, std::size_t& at) {
  const std::uint32_t unit = UnitAt(text, at++);
  if constexpr (sizeof(Char) == 2) {
    using namespace os::utf8_codec;
    if (IsHighSurrogate(unit) && at < text.size() && IsLowSurrogate(UnitAt(text, at))) {
      return 0x10000 + ((unit - 0xD800) << 10) + (UnitAt(text, at++) - 0xDC00);
    }
  }
  return unit;
}

template <typename Char>
std::string Encode(std::basic_string_view<Char> text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::uint32_t unit = UnitAt(text, at);
    if (unit >= 0x20 && unit < 0x80 && unit != '{') {  // nearly all there is
      bytes.push_back(static_cast<char>(unit));
      ++at;
      continue;
    }
    const bool looksEscaped = unit == '{' && EscapeAt<Char, Char>(text, at).lengthUnits != 0;
    const std::uint32_t codePoint = NextUnitOrPair(text, at);
    if (looksEscaped || !IsXmlChar(codePoint)) {
      AppendEscape(bytes, codePoint);
    } else {
      os::utf8_codec::AppendBytes(bytes, codePoint);
    }
  }
  return bytes;
}

// The reverse of Encode; `bytes` is UTF-8 (what is not becomes U+FFFD).
template <typename Char>
std::basic_string<Char> Decode(std::string_view bytes) {
  std::basic_string<Char> text;
  text.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size();) {
    const char byte = bytes[at];
    if (const Escape escape = byte == '{' ? EscapeAt<Char, char>(bytes, at) : Escape{};
        escape.lengthUnits != 0) {
      text.push_back(static_cast<Char>(escape.value));
      at += escape.lengthUnits;
    } else if (static_cast<unsigned char>(byte) < 0x80) {
      text.push_back(static_cast<Char>(byte));
      ++at;
    } else {
      const auto one = os::utf8_codec::DecodeOne(bytes.substr(at));
      os::utf8_codec::AppendUnits(text, one.codePoint);
      at += one.lengthBytes;
    }
  }
  return text;
}

}  // namespace xml_text
