#include "hosts/terminal/setting_value.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <limits>

#include "hosts/bench/key_name.h"
#include "platform/os/utf8.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr wchar_t kQuote = L'"';
constexpr std::size_t kMostDigits = 15;  // far beyond every limit, far from the end of the type
constexpr std::int64_t kLargestUnit = (std::int64_t{1} << 8 * sizeof(wchar_t)) - 1;
constexpr std::uint32_t kColourBits = 0xFFFFFF;

// What a backslash and this letter stand for.
struct Escape {
  wchar_t letter;
  wchar_t character;
};
constexpr Escape kEscapes[] = {{L'"', L'"'}, {L'\\', L'\\'}, {L'n', L'\n'}, {L't', L'\t'}};

// A backslash, this letter, and as many digits.
struct NumericEscape {
  wchar_t letter;
  std::size_t digits;
};
constexpr NumericEscape kNumericEscapes[] = {{L'x', 2}, {L'u', 4}, {L'U', 8}};

int DigitOf(wchar_t ch) {
  if (ch >= L'0' && ch <= L'9') return ch - L'0';
  if (ch >= L'a' && ch <= L'f') return ch - L'a' + 10;
  if (ch >= L'A' && ch <= L'F') return ch - L'A' + 10;
  return 16;
}

std::optional<std::int64_t> Digits(std::wstring_view text, int base) {
  if (text.empty() || text.size() > kMostDigits) return {};
  std::int64_t value = 0;
  for (const wchar_t ch : text) {
    const int digit = DigitOf(ch);
    if (digit >= base) return {};
    value = value * base + digit;
  }
  return value;
}

std::optional<std::int64_t> NumberOf(std::wstring_view text) {
  const bool isNegative = text.starts_with(L'-');
  if (isNegative || text.starts_with(L'+')) text.remove_prefix(1);
  const bool isHexadecimal = text.starts_with(L"0x") || text.starts_with(L"0X");
  const auto value = Digits(text.substr(isHexadecimal ? 2 : 0), isHexadecimal ? 16 : 10);
  if (!value) return {};
  return isNegative ? -*value : *value;
}

std::uint32_t Swapped(std::uint32_t colour) {
  return (colour & 0xFF) << 16 | (colour & 0xFF00) | colour >> 16;
}

// Red first, as everybody types it; the document has it last.
std::optional<std::int64_t> ColourOf(std::wstring_view typed) {
  if (!typed.starts_with(L'#')) {
    auto value = NumberOf(typed);
    // Beyond the signed numbers, as hexadecimal is typed.
    if (value && *value > std::numeric_limits<std::int32_t>::max() &&
        *value <= std::numeric_limits<std::uint32_t>::max()) {
      *value = static_cast<std::int32_t>(static_cast<std::uint32_t>(*value));
    }
    return value;
  }
  const auto value = Digits(typed.substr(1), 16);
  if (!value || typed.size() != 7) return {};
  return Swapped(static_cast<std::uint32_t>(*value));
}

std::optional<std::int64_t> SwitchOf(std::wstring_view typed) {
  if (typed == L"on") return 1;
  if (typed == L"off") return 0;
  return NumberOf(typed);
}

// `at` is behind the backslash, and behind the escape afterwards.
std::optional<wchar_t> Unescaped(std::wstring_view text, std::size_t& at) {
  if (at == text.size()) return {};
  const wchar_t letter = text[at++];
  for (const Escape& escape : kEscapes) {
    if (escape.letter == letter) return escape.character;
  }
  for (const NumericEscape& escape : kNumericEscapes) {
    if (escape.letter != letter) continue;
    if (text.size() - at < escape.digits) return {};
    const auto value = Digits(text.substr(at, escape.digits), 16);
    at += escape.digits;
    // No text of the settings holds a zero.
    if (!value || *value == 0 || *value > kLargestUnit) return {};
    return static_cast<wchar_t>(*value);
  }
  return {};
}

bool IsQuoted(std::wstring_view typed) { return typed.starts_with(kQuote); }

std::optional<std::wstring> Unquoted(std::wstring_view typed) {
  std::wstring text;
  for (std::size_t at = 1; at < typed.size();) {
    const wchar_t ch = typed[at++];
    if (ch == kQuote) return at == typed.size() ? std::optional(text) : std::nullopt;
    if (ch != L'\\') {
      text += ch;
      continue;
    }
    const auto character = Unescaped(typed, at);
    if (!character) return {};
    text += *character;
  }
  return {};
}

// Whether the characters, and nothing else, stand in what is shown of them.
bool IsSeen(std::wstring_view text) {
  const std::string bytes = os::WideToUtf8(text);
  return ShownLine(text) == bytes && os::Utf8ToWide(bytes) == text;
}

std::string Escaped(wchar_t ch) {
  for (const Escape& escape : kEscapes) {
    if (escape.character == ch) return std::string("\\") + static_cast<char>(escape.letter);
  }
  if (IsSeen(std::wstring_view(&ch, 1))) return os::WideToUtf8(std::wstring_view(&ch, 1));
  const auto value = static_cast<std::uint32_t>(ch);
  char digits[16];
  const char* const format = value <= 0xFF ? "\\x%02x" : value <= 0xFFFF ? "\\u%04x" : "\\U%08x";
  std::snprintf(digits, sizeof digits, format, value);
  return digits;
}

std::string InQuotesIfNeeded(std::wstring_view text) {
  const bool isPlain = !text.empty() && !IsQuoted(text) && text.front() != L' ' &&
                       text.back() != L' ' && IsSeen(text);
  if (isPlain) return os::WideToUtf8(text);
  std::string shown = "\"";
  for (const wchar_t ch : text) shown += Escaped(ch);
  return shown + "\"";
}

std::optional<std::wstring> InRange(const SettingRow& row, std::optional<std::int64_t> value) {
  if (!value || *value < row.least || *value > row.most) return {};
  return std::to_wstring(*value);
}

std::optional<std::wstring> ParseText(const SettingRow& row, std::wstring_view typed) {
  const auto text = IsQuoted(typed) ? Unquoted(typed) : std::wstring(typed);
  if (!text || (row.most != 0 && text->size() > static_cast<std::size_t>(row.most))) return {};
  return text;
}

// A key that has a code here is spelt as everybody spells it.
std::optional<std::wstring> ParseKeyName(std::wstring_view typed) {
  const auto code = hostbench::KeyCodeOf(typed);
  if (!code) return {};
  return hostbench::KeyNameOf(*code);
}

std::optional<std::int64_t> KeyCode(std::wstring_view typed) {
  const auto code = hostbench::KeyCodeOf(typed);
  return typed.size() > 1 && code ? std::optional<std::int64_t>(*code) : NumberOf(typed);
}

std::string ShownColour(std::wstring_view text) {
  const auto value = NumberOf(text);
  if (!value || *value < 0 || *value > kColourBits) return os::WideToUtf8(text);
  char shown[16];
  std::snprintf(shown, sizeof shown, "#%06x", Swapped(static_cast<std::uint32_t>(*value)));
  return shown;
}

}  // namespace

std::optional<std::wstring> ParseSetting(const SettingRow& row, std::wstring_view typed) {
  switch (row.kind) {
    case SettingKind::kSwitch:
      return InRange(row, SwitchOf(typed));
    case SettingKind::kNumber:
      return InRange(row, NumberOf(typed));
    case SettingKind::kColour:
      return InRange(row, ColourOf(typed));
    case SettingKind::kKeyCode:
      return InRange(row, KeyCode(typed));
    case SettingKind::kKeyName:
      return ParseKeyName(typed);
    case SettingKind::kCharacter:
    case SettingKind::kText:
      return ParseText(row, typed);
  }
  return {};
}

std::string ShownSetting(const SettingRow& row, std::wstring_view text) {
  if (row.kind == SettingKind::kColour) return ShownColour(text);
  return InQuotesIfNeeded(text);
}

std::string AllowedText(const SettingRow& row) {
  const std::string range = "from " + std::to_string(row.least) + " to " + std::to_string(row.most);
  switch (row.kind) {
    case SettingKind::kSwitch:
      return "0 or 1, off or on";
    case SettingKind::kNumber:
      return "a number " + range;
    case SettingKind::kColour:
      return "#RRGGBB, or 0x00BBGGRR as a number";
    case SettingKind::kKeyCode:
      return "a key such as F2 or CTRL+R, or its code";
    case SettingKind::kKeyName:
      return "a key such as F2 or CTRL+R";
    case SettingKind::kCharacter:
      return "one character, or \"\" for none";
    case SettingKind::kText:
      return row.most == 0 ? "a text"
                           : "a text of at most " + std::to_string(row.most) + " characters";
  }
  return "";
}

std::vector<std::wstring> AllowedValues(const SettingRow& row) {
  if (row.kind == SettingKind::kSwitch) return {L"0", L"1", L"off", L"on"};
  if (row.kind == SettingKind::kKeyName || row.kind == SettingKind::kKeyCode) {
    return hostbench::NamedKeys();
  }
  return {};
}

}  // namespace kiv
