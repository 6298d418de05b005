#include "link/render/table_lines.h"

#include <algorithm>

#include "platform/text/qc_string.h"

namespace SvcKivClass {
namespace {

constexpr std::wstring_view kEquals = L" = ";
constexpr std::wstring_view kBeforeComment = L"  ";
// The blank in front of the line feed is part of the text that scripts compare.
constexpr std::wstring_view kEndWithoutComment = L" \n";

wchar_t* Write(std::wstring_view text, wchar_t* to) {
  return std::copy(text.begin(), text.end(), to);
}

std::wstring JoinedValues(const RowBlock& rows) {
  std::wstring line;
  for (std::size_t i = 0; i < rows.GetCount(); ++i) AppendStringValue(line, rows.GetAt(i).value);
  return line;
}

}  // namespace

bool IsStringTitle(std::wstring_view title) {
  return title == L"dbk_str_type_stru" || title == L"dbk_str_type";
}

void AppendStringValue(std::wstring& line, std::wstring_view value) {
  if (std::all_of(value.begin(), value.end(), IsWhiteSpace)) return;
  line.append(value).append(2, L' ');
}

std::size_t LineChars(const LineShape& shape, const RowTexts& row) {
  const std::size_t end = shape.showType ? kBeforeComment.size() + row.comment.size() + 1
                                         : kEndWithoutComment.size();
  return std::max(shape.nameWidthChars, row.name.size()) + kEquals.size() + row.value.size() + end;
}

wchar_t* WriteLine(const LineShape& shape, const RowTexts& row, wchar_t* to) {
  to = Write(row.name, to);
  if (row.name.size() < shape.nameWidthChars) {
    to = std::fill_n(to, shape.nameWidthChars - row.name.size(), L' ');
  }
  to = Write(kEquals, to);
  to = Write(row.value, to);
  if (!shape.showType) return Write(kEndWithoutComment, to);
  to = Write(kBeforeComment, to);
  to = Write(row.comment, to);
  *to++ = L'\n';
  return to;
}

std::wstring JoinedLines(const RowBlock& rows) {
  if (IsStringTitle(rows.GetTitle())) return JoinedValues(rows);
  const LineShape shape{rows.GetNameWidth(), rows.GetFlags().showType};
  std::size_t chars = 0;
  for (std::size_t i = 0; i < rows.GetCount(); ++i) chars += LineChars(shape, rows.GetAt(i));
  std::wstring text(chars, L'\0');
  wchar_t* to = text.data();
  for (std::size_t i = 0; i < rows.GetCount(); ++i) to = WriteLine(shape, rows.GetAt(i), to);
  return text;
}

}  // namespace SvcKivClass
