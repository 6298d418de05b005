#include "channels/channel_text.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "platform/text/decimal_number.h"
#include "platform/text/qt_text.h"

namespace SvcKivClass {
namespace {

constexpr std::wstring_view kDelayOption = L"-d ";
constexpr std::wstring_view kDelayCut = L" -d ";
constexpr std::wstring_view kChunkMark = L"%ls";

wchar_t AsLatin1(wchar_t ch) {
  const bool fits = ch >= 0 && ch <= 0xFF;
  return fits ? ch : L'?';
}

}  // namespace

std::uint32_t GetDelayOption(const QCString& text) {
  const std::size_t option = text.Find(kDelayOption);
  if (option == QCString::npos) return 0;
  const std::size_t begin = option + kDelayOption.size();
  const std::size_t end = std::min(text.Find(kDelayOption, begin), text.GetLength());
  return ParseDecimalUint32(text.view().substr(begin, end - begin));
}

QCString CutAtDelay(const QCString& text) {
  std::wstring cut(text.view().substr(0, text.Find(kDelayCut)));
  std::transform(cut.begin(), cut.end(), cut.begin(), &AsLatin1);
  return QCString(std::move(cut));
}

void SplitAtChar(const QCString& text, QCString& left, QCString& right, wchar_t ch) {
  const std::size_t at = std::min(text.Find(ch), text.GetLength());
  QCString rest = text.Mid(at).TrimLeftWhiteSpace();  // the results may be the text itself
  left = text.Left(at);
  right = std::move(rest);
}

// One pass, so that nothing in a word is taken for a place of the next.
QCString TextWith(const char* sourceText, std::initializer_list<QCString> words) {
  const QCString pattern = Translated(sourceText);
  const std::wstring_view text = pattern.view();
  std::wstring filled;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t place = text[i] == L'%' && i + 1 < text.size() ? text[i + 1] : L'0';
    if (place < L'1' || place >= L'1' + static_cast<wchar_t>(words.size())) {
      filled += text[i];
      continue;
    }
    filled += (words.begin() + (place - L'1'))->view();
    ++i;
  }
  return QCString(std::move(filled));
}

QCString TextWithChunk(const char* sourceText, const QCString& chunk) {
  QCString pattern = Translated(sourceText);
  const std::size_t mark = pattern.Find(kChunkMark);
  if (mark == QCString::npos) return pattern;
  return pattern.Left(mark) + chunk + pattern.Mid(mark + kChunkMark.size());
}

}  // namespace SvcKivClass
