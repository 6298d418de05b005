#include "platform/text/shown_text.h"

#include <algorithm>
#include <iterator>

#include "platform/os/utf8.h"
#include "platform/os/utf8_codec.h"

namespace {

struct CodeRange {
  char32_t first, last;
};

#include "platform/text/unseen_table.inc"

bool IsPlainAscii(char32_t code) { return code >= 0x20 && code < 0x7F; }

bool IsEscaped(char32_t code) {
  if (IsPlainAscii(code)) return false;
  const CodeRange* const range =
      std::lower_bound(std::begin(kUnseen), std::end(kUnseen), code,
                       [](const CodeRange& each, char32_t value) { return each.last < value; });
  return range != std::end(kUnseen) && range->first <= code;
}

bool IsLayout(char32_t code) { return code == U'\n' || code == U'\t'; }

void AppendHex(std::string& shown, char32_t code, int digits) {
  static constexpr char kDigits[] = "0123456789abcdef";
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4) shown += kDigits[code >> shift & 15];
}

void AppendEscape(std::string& shown, char32_t code) {
  if (code < 0x100) {
    shown += "\\x";
    return AppendHex(shown, code, 2);
  }
  const bool isShort = code < 0x10000;
  shown += isShort ? "\\u" : "\\U";
  AppendHex(shown, code, isShort ? 4 : 8);
}

std::string Escaped(std::wstring_view text, bool keepLayout) {
  std::string shown;
  shown.reserve(text.size());
  std::size_t plainFrom = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t here = at;
    const char32_t code = os::utf8_codec::NextCodePoint(text, at);
    if (!IsEscaped(code) || (keepLayout && IsLayout(code))) continue;
    shown += os::WideToUtf8(text.substr(plainFrom, here - plainFrom));
    AppendEscape(shown, code);
    plainFrom = at;
  }
  return shown += os::WideToUtf8(text.substr(plainFrom));
}

}  // namespace

std::string ShownText(std::wstring_view text) { return Escaped(text, true); }

std::string ShownUtf8(std::string_view text) { return ShownText(os::Utf8ToWide(text)); }

std::string ShownLine(std::wstring_view text) { return Escaped(text, false); }

std::string ShownLine(std::string_view text) { return ShownLine(os::Utf8ToWide(text)); }
