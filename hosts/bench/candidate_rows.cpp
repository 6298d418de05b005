#include "hosts/bench/candidate_rows.h"

#include <algorithm>
#include <string_view>

#include "hosts/bench/caret_line.h"
#include "platform/text/shown_text.h"

namespace hostbench {
namespace {

constexpr std::size_t kGapCells = 2;
constexpr std::size_t kMaxNameCells = 40;  // in front of notes; a longer name moves its own row

std::size_t WidestCells(const std::vector<FieldCandidate>& candidates, std::size_t most) {
  std::size_t cells = 0;
  for (const FieldCandidate& each : candidates) cells = std::max(cells, CellWidth(each.typed));
  return std::min(cells, most);
}

void Pad(std::wstring& row, std::wstring_view text, std::size_t cells) {
  row += text;
  const std::size_t width = CellWidth(text);
  row.append((width < cells ? cells - width : 0) + kGapCells, L' ');
}

std::string DescribedRows(const std::vector<FieldCandidate>& candidates, std::size_t columns) {
  const std::size_t nameCells = WidestCells(candidates, kMaxNameCells);
  std::string rows;
  for (const FieldCandidate& each : candidates) {
    std::wstring row;
    Pad(row, each.typed, nameCells);
    row = FittingCells(row + each.note, columns);
    row.resize(row.find_last_not_of(L' ') + 1);
    rows += ShownLine(row) + "\n";
  }
  return rows;
}

// How the first `count` candidates stand in columns.
struct Columns {
  std::size_t count;
  std::size_t each;  // in one row
  std::size_t cells;

  std::size_t Rows() const { return (count + each - 1) / each; }
};

std::string ColumnRows(const std::vector<FieldCandidate>& candidates, const Columns& columns) {
  std::string rows;
  const std::size_t height = columns.Rows();
  for (std::size_t first = 0; first < height; ++first) {
    std::wstring row;
    for (std::size_t at = first; at < columns.count; at += height) {
      const std::wstring_view name = FittingCells(candidates[at].typed, columns.cells);
      const bool isLast = at + height >= columns.count;
      if (isLast) {
        row += name;
      } else {
        Pad(row, name, columns.cells);
      }
    }
    rows += ShownLine(row) + "\n";
  }
  return rows;
}

}  // namespace

std::string CandidateRows(const std::vector<FieldCandidate>& candidates, std::size_t total,
                          ListRoom room) {
  if (candidates.empty()) return {};
  total = std::max(total, candidates.size());
  const std::size_t mostRows = std::max<std::size_t>(room.rows, 2);
  const bool hasNotes = std::any_of(candidates.begin(), candidates.end(),
                                    [](const FieldCandidate& each) { return !each.note.empty(); });
  if (hasNotes && total == candidates.size() && total <= mostRows) {
    return DescribedRows(candidates, room.columns);
  }
  const std::size_t cells = WidestCells(candidates, std::max<std::size_t>(room.columns, 1));
  Columns columns{candidates.size(),
                  std::max<std::size_t>((room.columns + kGapCells) / (cells + kGapCells), 1),
                  cells};
  const bool fits = total == columns.count && columns.Rows() <= mostRows;
  if (!fits) columns.count = std::min(columns.count, (mostRows - 1) * columns.each);
  std::string rows = ColumnRows(candidates, columns);
  if (columns.count < total) rows += "and " + std::to_string(total - columns.count) + " more\n";
  return rows;
}

}  // namespace hostbench
