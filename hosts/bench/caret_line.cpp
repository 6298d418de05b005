#include "hosts/bench/caret_line.h"

#include <algorithm>
#include <iterator>

#include "platform/text/shown_text.h"

namespace hostbench {
namespace {

struct CellRun {
  char32_t first;
  char32_t last;
};

#include "hosts/bench/cell_table.inc"

constexpr std::size_t kTabCells = 8;
constexpr std::wstring_view kCut = L"...";

template <std::size_t kCount>
bool IsIn(const CellRun (&runs)[kCount], char32_t codePoint) noexcept {
  const CellRun* const run =
      std::upper_bound(std::begin(runs), std::end(runs), codePoint,
                       [](char32_t code, const CellRun& each) { return code < each.first; });
  return run != std::begin(runs) && codePoint <= std::prev(run)->last;
}

bool IsHighSurrogate(char32_t unit) { return unit >= 0xD800 && unit < 0xDC00; }
bool IsLowSurrogate(char32_t unit) { return unit >= 0xDC00 && unit < 0xE000; }

char32_t UnitAt(std::wstring_view text, std::size_t at) {
  return static_cast<char32_t>(text[at]) & (sizeof(wchar_t) == 2 ? 0xFFFFu : 0xFFFFFFFFu);
}

// One character with what it takes.
struct Glyph {
  std::size_t chars;
  std::size_t cells;
};

Glyph GlyphAt(std::wstring_view text, std::size_t at, std::size_t cell) {
  const char32_t unit = UnitAt(text, at);
  if (unit == U'\t') return {1, kTabCells - cell % kTabCells};
  char32_t code = unit;
  std::size_t chars = 1;
  if (IsHighSurrogate(unit) && at + 1 < text.size() && IsLowSurrogate(UnitAt(text, at + 1))) {
    code = 0x10000 + ((unit - 0xD800) << 10) + (UnitAt(text, at + 1) - 0xDC00);
    chars = 2;
  }
  if (code >= 0x20 && code < 0x7F) return {chars, 1};
  const std::string shown = ShownLine(text.substr(at, chars));
  return {chars, shown.starts_with('\\') ? shown.size() : CellsOf(code)};
}

// The cell of the character at `column`, counted from the row's beginning.
std::size_t CellOfColumn(std::wstring_view text, std::size_t column, std::size_t startCell) {
  std::size_t cell = startCell;
  std::size_t lastCell = startCell;  // of the last character that takes one
  for (std::size_t at = 0; at < text.size();) {
    const Glyph glyph = GlyphAt(text, at, cell);
    if (glyph.cells != 0) lastCell = cell;
    if (column < at + glyph.chars) return lastCell;
    cell += glyph.cells;
    at += glyph.chars;
  }
  return cell;
}

std::wstring WithCaret(std::size_t cell, std::wstring_view path) {
  std::wstring line(cell, L' ');
  line += L'^';
  if (!path.empty()) (line += L' ') += path;
  return line;
}

// Tabs as the blanks that they are on a row that begins with the text.
std::wstring WithoutTabs(std::wstring_view text, std::size_t& column) {
  std::wstring shown;
  std::size_t moved = column;
  std::size_t cell = 0;
  for (std::size_t at = 0; at < text.size();) {
    const Glyph glyph = GlyphAt(text, at, cell);
    const bool isTab = text[at] == L'\t';
    if (at <= column && column < at + glyph.chars) moved = shown.size() + (column - at);
    isTab ? shown.append(glyph.cells, L' ') : shown.append(text.substr(at, glyph.chars));
    cell += glyph.cells;
    at += glyph.chars;
  }
  column = column >= text.size() ? shown.size() : moved;
  return shown;
}

// `text` without its beginning, so that what is left in front of the column fits into `cells`.
std::size_t DroppedFor(std::wstring_view text, std::size_t column, std::size_t cells) {
  std::size_t width = CellWidth(text.substr(0, column));
  std::size_t at = 0;
  while (at < column && (width > cells || (at != 0 && GlyphAt(text, at, 0).cells == 0))) {
    const Glyph glyph = GlyphAt(text, at, 0);
    width -= std::min(width, glyph.cells);
    at += glyph.chars;
  }
  return std::min(at, column);
}

}  // namespace

std::size_t CellsOf(char32_t codePoint) noexcept {
  if (codePoint < 0x300) return 1;
  if (IsIn(kNoCells, codePoint)) return 0;
  return IsIn(kTwoCells, codePoint) ? 2 : 1;
}

std::size_t CellWidth(std::wstring_view text, std::size_t startCell) {
  std::size_t cell = startCell;
  for (std::size_t at = 0; at < text.size();) {
    const Glyph glyph = GlyphAt(text, at, cell);
    cell += glyph.cells;
    at += glyph.chars;
  }
  return cell - startCell;
}

std::wstring_view FittingCells(std::wstring_view text, std::size_t cells) {
  std::size_t taken = 0;
  std::size_t at = 0;
  while (at < text.size()) {
    const Glyph glyph = GlyphAt(text, at, taken);
    if (taken + glyph.cells > cells) break;
    taken += glyph.cells;
    at += glyph.chars;
  }
  return text.substr(0, at);
}

std::wstring CaretLine(std::wstring_view text, std::size_t column, std::wstring_view path,
                       std::size_t startCell) {
  return WithCaret(CellOfColumn(text, column, startCell), path);
}

MarkedLine MarkLine(std::wstring_view text, std::size_t column, std::wstring_view path,
                    std::size_t widthCells) {
  std::wstring shown = WithoutTabs(text, column);
  const std::size_t room = std::max<std::size_t>(widthCells, 20);
  const std::size_t markCells = column >= shown.size() ? 1 : 0;  // behind the text
  if (CellWidth(shown) + markCells > room) {
    // Two thirds of the row for what leads to the place, when there is that much.
    const std::size_t dropped = DroppedFor(shown, column, room * 2 / 3);
    if (dropped != 0) {
      shown.replace(0, dropped, kCut);
      column = column - dropped + kCut.size();
    }
    if (CellWidth(shown) > room) {
      shown.resize(FittingCells(shown, room - kCut.size()).size());
      shown += kCut;
    }
  }
  MarkedLine marked;
  const std::size_t cell = CellOfColumn(shown, column, 0);
  const std::size_t pathCells = CellWidth(path);
  if (cell + 2 + pathCells <= room) {
    marked.caret = WithCaret(cell, path);
  } else if (pathCells + 1 <= cell) {  // in front of the mark
    marked.caret = std::wstring(cell - pathCells - 1, L' ').append(path) + L" ^";
  } else {
    const std::size_t left = room > cell + 2 ? room - cell - 2 : 0;
    marked.caret = WithCaret(cell, FittingCells(path, left));
  }
  marked.shown = std::move(shown);
  return marked;
}

}  // namespace hostbench
