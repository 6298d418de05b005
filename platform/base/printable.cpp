#include "platform/base/printable.h"

#include <string_view>

#include "platform/text/shown_text.h"

namespace {

constexpr std::size_t kLogBufferChars = 256;

}  // namespace

QCString CutToLogBuffer(const QCString& text) { return text.Left(kLogBufferChars - 1); }

std::string Printable(const QCString& text) {
  std::wstring_view rest = text.view();
  const bool endsLine = rest.ends_with(L'\n');
  if (endsLine) rest.remove_suffix(1);
  std::string shown = ShownLine(rest);
  if (endsLine) shown += '\n';
  return shown;
}
