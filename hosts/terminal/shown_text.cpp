#include "hosts/terminal/shown_text.h"

#include "platform/os/utf8.h"

namespace kiv {
namespace {

bool IsControl(wchar_t ch) {
  return (ch < 0x20 && ch != L'\n' && ch != L'\t') || (ch >= 0x7F && ch < 0xA0);
}

}  // namespace

std::string ShownText(std::wstring_view text) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string shown;
  shown.reserve(text.size());
  std::size_t plainFrom = 0;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (!IsControl(text[at])) continue;
    shown += os::WideToUtf8(text.substr(plainFrom, at - plainFrom));
    const auto code = static_cast<unsigned>(text[at]);
    shown += {'\\', 'x', kDigits[code >> 4], kDigits[code & 15]};
    plainFrom = at + 1;
  }
  return shown += os::WideToUtf8(text.substr(plainFrom));
}

std::string ShownUtf8(std::string_view text) { return ShownText(os::Utf8ToWide(text)); }

}  // namespace kiv
