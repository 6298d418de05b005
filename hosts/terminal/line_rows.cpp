#include "hosts/terminal/line_rows.h"

#include <cwchar>

#include <algorithm>
#include <cstdlib>
#include <string>

#include "platform/os/utf8_codec.h"

namespace kiv {
namespace {

constexpr char kHiddenBegin = '\1';
constexpr char kHiddenEnd = '\2';
constexpr int kTabColumns = 8;

int WidthOf(char32_t codePoint, std::size_t lengthBytes) {
  if (codePoint == U'\uFFFD' && lengthBytes < 3) return 4;  // a byte that is no text: "\377"
  if (codePoint < 0x20 || codePoint == 0x7F) return 2;
  return std::max(::wcwidth(static_cast<wchar_t>(codePoint)), 0);
}

void Advance(LinePosition& at, int widthColumns, int columns) {
  if (at.column + widthColumns > columns) at = {at.row + 1, 0};
  at.column += widthColumns;
}

}  // namespace

LinePosition PositionBehind(std::string_view text, int columns) {
  columns = std::max(columns, 1);
  LinePosition at;
  bool isHidden = false;
  while (!text.empty()) {
    const os::utf8_codec::Decoded one = os::utf8_codec::DecodeOne(text);
    const char first = text.front();
    text.remove_prefix(one.lengthBytes);
    if (first == kHiddenBegin || first == kHiddenEnd) {
      isHidden = first == kHiddenBegin;
    } else if (!isHidden && first == '\n') {
      at = {at.row + 1, 0};
    } else if (!isHidden && first == '\t') {
      Advance(at, kTabColumns - at.column % kTabColumns, columns);
    } else if (!isHidden) {
      Advance(at, WidthOf(one.codePoint, one.lengthBytes), columns);
    }
  }
  if (at.column >= columns) at = {at.row + 1, 0};  // readline has gone on already
  return at;
}

bool TerminalReflows() {
  const auto isSet = [](const char* name) { return std::getenv(name) != nullptr; };
  const char* const value = std::getenv("TERM");
  const std::string_view kind = value != nullptr ? value : "";
  // Those that cut what is too long, or leave it where it is.
  if (isSet("XTERM_VERSION") || kind == "linux" || kind.starts_with("rxvt")) return false;
  if (kind.starts_with("vt")) return false;
  return !kind.starts_with("screen") || isSet("TMUX");
}

}  // namespace kiv
