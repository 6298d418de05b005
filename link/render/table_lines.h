// Rows as lines: the one place that knows what a line looks like.
//
// Threads: any; no state.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "link/render/row_block.h"

namespace SvcKivClass {

// Whether a title stands for a string result, shown as its values on one line.
bool IsStringTitle(std::wstring_view title);
// Adds one value of a string result: itself and two blanks, nothing when it has only white space.
void AppendStringValue(std::wstring& line, std::wstring_view value);

// What all lines of a table have in common. Names are padded to `nameWidthChars`.
struct LineShape {
  std::size_t nameWidthChars = 0;
  bool showType = false;
};

std::size_t LineChars(const LineShape& shape, const RowTexts& row);
// Writes exactly LineChars characters, line feed included; answers the end.
wchar_t* WriteLine(const LineShape& shape, const RowTexts& row, wchar_t* to);

// All lines of a block, joined; empty for a block without rows.
std::wstring JoinedLines(const RowBlock& rows);

}  // namespace SvcKivClass
