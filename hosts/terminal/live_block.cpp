#include "hosts/terminal/live_block.h"

#include <algorithm>

#include "hosts/bench/caret_line.h"
#include "platform/os/utf8.h"

namespace kiv {
namespace {

constexpr os::TerminalSize kUsualSize{24, 80};
constexpr std::size_t kTabCells = 8;
constexpr char kMarkBegin[] = "\x1b[7m";
constexpr char kMarkEnd[] = "\x1b[27m";
// The terminal must not go on in the next row with what is wider than expected.
constexpr char kWrapOff[] = "\x1b[?7l";
constexpr char kWrapOn[] = "\x1b[?7h";

os::TerminalSize Known(os::TerminalSize size) {
  if (size.rows <= 0) size.rows = kUsualSize.rows;
  if (size.columns <= 0) size.columns = kUsualSize.columns;
  return size;
}

// The first `cells` cells of it, tabs as blanks.
std::string CutToCells(const std::string& text, std::size_t cells) {
  std::wstring cut;
  std::size_t has = 0;
  for (const wchar_t character : os::Utf8ToWide(text)) {
    std::wstring next(1, character);
    if (character == L'\t') next.assign(kTabCells - has % kTabCells, L' ');
    const std::size_t width = hostbench::CellWidth(cut + next) - hostbench::CellWidth(cut);
    if (has + width > cells) break;
    has += width;
    cut += next;
  }
  return os::WideToUtf8(cut);
}

std::string MoreText(std::size_t count) {
  return "... " + std::to_string(count) + (count == 1 ? " more row" : " more rows");
}

}  // namespace

std::string LiveBlock::Draw(const std::vector<BlockRow>& rows, os::TerminalSize size) {
  size = Known(size);
  columns_ = size.columns;
  const auto cells = static_cast<std::size_t>(std::max(size.columns - 1, 1));
  const auto room = static_cast<std::size_t>(std::max(size.rows - 1, 2));
  const std::size_t shown = rows.size() <= room ? rows.size() : room - 1;
  std::string bytes = kWrapOff;
  const auto add = [&](const std::string& text, bool isMarked) {
    if (!drawn_.empty()) bytes += '\n';
    drawn_.push_back(CutToCells(text, cells));
    bytes += isMarked ? kMarkBegin + drawn_.back() + kMarkEnd : drawn_.back();
  };
  for (std::size_t i = 0; i < shown; ++i) add(rows[i].text, rows[i].isMarked);
  if (shown < rows.size()) add(MoreText(rows.size() - shown), false);
  return bytes + kWrapOn;
}

std::string LiveBlock::Erase(os::TerminalSize size, bool reflows) {
  if (drawn_.empty()) return {};
  size = Known(size);
  int rowsUp = static_cast<int>(drawn_.size()) - 1;
  if (reflows && size.columns != columns_) {
    const auto columns = static_cast<std::size_t>(size.columns);
    for (const std::string& row : drawn_) {
      const std::size_t cells = hostbench::CellWidth(os::Utf8ToWide(row));
      if (cells > columns) rowsUp += static_cast<int>((cells - 1) / columns);
    }
  }
  rowsUp = std::min(rowsUp, size.rows - 1);
  drawn_.clear();
  return "\r" + (rowsUp > 0 ? "\x1b[" + std::to_string(rowsUp) + "A" : std::string()) + "\x1b[J";
}

}  // namespace kiv
