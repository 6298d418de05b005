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

// Characters of a line beside its name, value and comment.
std::size_t FixedChars(const LineShape& shape) {
  return kEquals.size() + (shape.showType ? kBeforeComment.size() + 1 : kEndWithoutComment.size());
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
  const std::size_t nameChars = std::max(shape.nameWidthChars, row.NameChars());
  const std::size_t commentChars = shape.showType ? row.comment.size() : 0;
  return FixedChars(shape) + nameChars + row.value.size() + commentChars;
}

wchar_t* WriteLine(const LineShape& shape, const RowTexts& row, wchar_t* to) {
  const wchar_t* const padded = to + shape.nameWidthChars;
  to = std::fill_n(to, row.dots, L'.');
  to = Write(row.name, to);
  to = Write(row.index, to);
  while (to < padded) *to++ = L' ';
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
  // No line's name is longer than the width, so this is room enough for all lines.
  std::wstring text(rows.GetCount() * (FixedChars(shape) + shape.nameWidthChars) +
                        rows.GetValueChars() + (shape.showType ? rows.GetCommentChars() : 0),
                    L'\0');
  wchar_t* to = text.data();
  for (std::size_t i = 0; i < rows.GetCount(); ++i) to = WriteLine(shape, rows.GetAt(i), to);
  text.resize(static_cast<std::size_t>(to - text.data()));
  return text;
}

}  // namespace SvcKivClass
