// The mark below a typed line: where it went wrong, counted in the cells of a terminal.
//
// Widths are Unicode's, from a generated table, the same in every locale: 2 for wide and full-width
// characters, 0 for combining marks and format characters, 1 for others. A tab goes to the next
// multiple of 8. Control characters count as ShownText writes them ("\x1b": 4), surrogate pairs as
// one character.
//
// Threads: any; no state. Errors: none; columns beyond the text count as behind it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace hostbench {

// Cells of one code point, tabs and control characters aside.
std::size_t CellsOf(char32_t codePoint) noexcept;

// Cells that the text takes when its first character stands at `startCell` of its row (a tab's
// width depends on it).
std::size_t CellWidth(std::wstring_view text, std::size_t startCell = 0);

// The longest beginning of the text that takes no more than `cells`, at the beginning of a row.
std::wstring_view FittingCells(std::wstring_view text, std::size_t cells);

// Blanks, "^", and " path" when there is one: to be put below a line that shows `text` from
// `startCell` (the prompt's width) on. `column` is in wchar_t. On a combining mark or the second
// half of a pair the mark stands below the character that it belongs to.
std::wstring CaretLine(std::wstring_view text, std::size_t column, std::wstring_view path,
                       std::size_t startCell = 0);

// A line with its mark, cut so that neither is wider than a terminal's row.
struct MarkedLine {
  std::wstring shown;  // the text, or "..." and the part around the column; tabs are blanks
  std::wstring caret;
};

// For a line that is printed once more: `widthCells` at least 20; a path that has no room is cut.
MarkedLine MarkLine(std::wstring_view text, std::size_t column, std::wstring_view path,
                    std::size_t widthCells);

}  // namespace hostbench
