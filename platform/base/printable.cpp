#include "platform/base/printable.h"

#include <cstdint>
#include <string_view>

#include "platform/os/case_map.h"

namespace {

constexpr std::size_t kLogBufferChars = 256;

bool IsControl(wchar_t ch) {
  const std::uint32_t code = os::CodeOf(ch);
  return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

void AppendEscape(std::wstring& text, wchar_t ch) {
  constexpr wchar_t kDigits[] = L"0123456789abcdef";
  const std::uint32_t code = os::CodeOf(ch);
  text += {L'\\', L'x', kDigits[code >> 4], kDigits[code & 0xF]};
}

}  // namespace

QCString CutToLogBuffer(const QCString& text) { return text.Left(kLogBufferChars - 1); }

std::string Printable(const QCString& text) {
  std::wstring_view rest = text.view();
  const bool endsLine = rest.ends_with(L'\n');
  if (endsLine) rest.remove_suffix(1);
  std::wstring shown;
  shown.reserve(rest.size() + 1);
  for (const wchar_t ch : rest) {
    if (IsControl(ch)) {
      AppendEscape(shown, ch);
    } else {
      shown += ch;
    }
  }
  if (endsLine) shown += L'\n';
  return QCString(std::move(shown)).ToUtf8();
}
