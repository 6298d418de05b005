#include "platform/text/shown_text.h"

#include "platform/os/utf8.h"
#include "platform/os/utf8_codec.h"

namespace {

struct CodeRange {
  char32_t first, last;
};

// What acts on a terminal, or on how a reader sees the text, and shows nothing of itself.
constexpr CodeRange kEscaped[] = {
    {0x00, 0x1F},       {0x7F, 0x9F},  // C0, DEL, C1
    {0x061C, 0x061C},                  // direction mark
    {0x180E, 0x180E},                  // invisible separator
    {0x200B, 0x200B},                  // zero-width blank
    {0x200E, 0x200F},                  // direction marks
    {0x2028, 0x202E},                  // line and paragraph separators, embeddings, overrides
    {0x2060, 0x206F},                  // word joiner, invisible operators, isolates, shaping
    {0xFEFF, 0xFEFF},                  // byte order mark
    {0xFFF9, 0xFFFB},                  // interlinear annotations
    {0xE0000, 0xE0FFF},                // tags and other invisible code points
};

bool IsEscaped(char32_t code) {
  for (const CodeRange& range : kEscaped) {
    if (code >= range.first && code <= range.last) return true;
  }
  return false;
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
