// The UTF-8 coder for any width of character: utf8.cpp uses it with wchar_t, tests with both
// char16_t and char32_t, so that the branch for 2-byte characters is run on systems with 4-byte
// ones too.
//
// Decoding is strict (Unicode 15, table 3-7): overlong forms, surrogates and values beyond U+10FFFF
// are broken, and each maximal broken part becomes one U+FFFD.
//
// Threads: any; no state. Errors: none but std::bad_alloc.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace os::utf8_codec {

inline constexpr char32_t kReplacement = 0xFFFD;
inline constexpr char32_t kLastCodePoint = 0x10FFFF;

// One code point, or one maximal broken part as U+FFFD, and how many bytes it took (at least 1).
struct Decoded {
  char32_t codePoint;
  std::size_t lengthBytes;
};

// What the lead byte says: length of the sequence (0: no lead byte), and the range that its second
// byte must be in. The range is what shuts out overlong forms, surrogates and values beyond the
// last.
struct LeadByte {
  std::size_t lengthBytes;
  unsigned char secondLow, secondHigh;
};

constexpr LeadByte ClassifyLead(unsigned char lead) {
  if (lead < 0x80) return {1, 0, 0};
  if (lead < 0xC2) return {0, 0, 0};
  if (lead < 0xE0) return {2, 0x80, 0xBF};
  if (lead == 0xE0) return {3, 0xA0, 0xBF};
  if (lead == 0xED) return {3, 0x80, 0x9F};
  if (lead < 0xF0) return {3, 0x80, 0xBF};
  if (lead == 0xF0) return {4, 0x90, 0xBF};
  if (lead < 0xF4) return {4, 0x80, 0xBF};
  if (lead == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

// `bytes` must not be empty.
constexpr Decoded DecodeOne(std::string_view bytes) {
  const auto lead = static_cast<unsigned char>(bytes[0]);
  const LeadByte kind = ClassifyLead(lead);
  if (kind.lengthBytes == 1) return {lead, 1};
  if (kind.lengthBytes == 0) return {kReplacement, 1};
  char32_t codePoint = lead & (0x7Fu >> kind.lengthBytes);
  for (std::size_t i = 1; i < kind.lengthBytes; ++i) {
    const unsigned char low = i == 1 ? kind.secondLow : 0x80;
    const unsigned char high = i == 1 ? kind.secondHigh : 0xBF;
    if (i >= bytes.size()) return {kReplacement, i};
    const auto next = static_cast<unsigned char>(bytes[i]);
    if (next < low || next > high) return {kReplacement, i};
    codePoint = (codePoint << 6) | (next & 0x3Fu);
  }
  return {codePoint, kind.lengthBytes};
}

// Appends a code point in the form of the string's character type: one unit, or a surrogate pair.
template <typename Char>
void AppendUnits(std::basic_string<Char>& text, char32_t codePoint) {
  if constexpr (sizeof(Char) == 2) {
    if (codePoint > 0xFFFF) {
      const char32_t offset = codePoint - 0x10000;
      text.push_back(static_cast<Char>(0xD800 + (offset >> 10)));
      text.push_back(static_cast<Char>(0xDC00 + (offset & 0x3FF)));
      return;
    }
  }
  text.push_back(static_cast<Char>(codePoint));
}

template <typename Char>
std::basic_string<Char> Decode(std::string_view bytes) {
  std::basic_string<Char> text;
  text.reserve(bytes.size());
  std::size_t at = 0;
  while (at < bytes.size()) {
    const std::size_t runStart = at;
    while (at < bytes.size() && static_cast<unsigned char>(bytes[at]) < 0x80) ++at;
    text.append(bytes.begin() + static_cast<std::ptrdiff_t>(runStart),
                bytes.begin() + static_cast<std::ptrdiff_t>(at));
    if (at == bytes.size()) break;
    const Decoded one = DecodeOne(bytes.substr(at));
    AppendUnits(text, one.codePoint);
    at += one.lengthBytes;
  }
  return text;
}

constexpr bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
constexpr bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

inline void AppendBytes(std::string& bytes, char32_t codePoint) {
  const auto tail = [codePoint](int shift) {
    return static_cast<char>(0x80 | ((codePoint >> shift) & 0x3F));
  };
  if (codePoint < 0x80) {
    bytes.push_back(static_cast<char>(codePoint));
  } else if (codePoint < 0x800) {
    bytes.append({static_cast<char>(0xC0 | (codePoint >> 6)), tail(0)});
  } else if (codePoint < 0x10000) {
    bytes.append({static_cast<char>(0xE0 | (codePoint >> 12)), tail(6), tail(0)});
  } else {
    bytes.append({static_cast<char>(0xF0 | (codePoint >> 18)), tail(12), tail(6), tail(0)});
  }
}

// The code point that starts at `at`, moved behind it; U+FFFD for what is none.
template <typename Char>
char32_t NextCodePoint(std::basic_string_view<Char> text, std::size_t& at) {
  const auto unitAt = [&text](std::size_t i) {
    if constexpr (sizeof(Char) == 2) {
      return static_cast<char32_t>(static_cast<char16_t>(text[i]));
    } else {
      return static_cast<char32_t>(text[i]);
    }
  };
  const char32_t unit = unitAt(at++);
  if constexpr (sizeof(Char) == 2) {
    if (IsHighSurrogate(unit) && at < text.size() && IsLowSurrogate(unitAt(at))) {
      return 0x10000 + ((unit - 0xD800) << 10) + (unitAt(at++) - 0xDC00);
    }
  }
  if (IsHighSurrogate(unit) || IsLowSurrogate(unit) || unit > kLastCodePoint) return kReplacement;
  return unit;
}

template <typename Char>
std::string Encode(std::basic_string_view<Char> text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) AppendBytes(bytes, NextCodePoint(text, at));
  return bytes;
}

}  // namespace os::utf8_codec
