#include "platform/text/shown_text.h"

#include <cstdint>

#include "platform/os/case_map.h"
#include "platform/os/utf8.h"

namespace {

bool IsControl(std::uint32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }
bool IsLayout(wchar_t ch) { return ch == L'\n' || ch == L'\t'; }

std::string Escaped(std::wstring_view text, bool keepLayout) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string shown;
  shown.reserve(text.size());
  std::size_t plainFrom = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const std::uint32_t code = os::CodeOf(text[at]);
    if (!IsControl(code) || (keepLayout && IsLayout(text[at]))) continue;
    shown += os::WideToUtf8(text.substr(plainFrom, at - plainFrom));
    shown += {'\\', 'x', kDigits[code >> 4], kDigits[code & 15]};
    plainFrom = at + 1;
  }
  return shown += os::WideToUtf8(text.substr(plainFrom));
}

}  // namespace

std::string ShownText(std::wstring_view text) { return Escaped(text, true); }

std::string ShownUtf8(std::string_view text) { return ShownText(os::Utf8ToWide(text)); }

std::string ShownLine(std::wstring_view text) { return Escaped(text, false); }

std::string ShownLine(std::string_view text) { return ShownLine(os::Utf8ToWide(text)); }
