#include "hosts/terminal/watch_view.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "hosts/terminal/change_notes.h"

namespace kiv {
namespace {

constexpr std::string_view kChanged = "* ";
constexpr std::string_view kSame = "  ";

std::vector<std::string> LinesOf(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  // The module begins a text with an empty line.
  while (!lines.empty() && lines.front().empty()) lines.erase(lines.begin());
  return lines;
}

std::string CountText(const WatchRound& round) {
  std::string text = "round " + std::to_string(round.number) + ", " + round.timeText;
  if (round.skipped != 0) text += ", " + std::to_string(round.skipped) + " skipped";
  return text;
}

}  // namespace

std::vector<BlockRow> MarkedRows(const std::string& text, const std::vector<BlockRow>& before) {
  const std::vector<std::string> lines = LinesOf(text);
  std::vector<BlockRow> rows;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const bool isKnown =
        before.empty() ||
        (i < before.size() && std::string_view(before[i].text).substr(kSame.size()) == lines[i]);
    rows.push_back({std::string(isKnown ? kSame : kChanged) + lines[i], !isKnown});
  }
  return rows;
}

std::string RoundText(const WatchRound& round, const std::string& before) {
  std::string text = CountText(round) + "\n";
  if (round.number == 1 || round.isFailed) return text + round.text;
  if (round.text == before || (round.changes && round.changes->count == 0)) {
    return text + "nothing changed\n";
  }
  if (!round.changes) return text + round.text;
  for (const std::string& row : ChangeRows(*round.changes)) text += row + "\n";
  return text;
}

void WatchView::Begin() {
  if (isInPlace_) display_.Block({{head_ + "no answer yet", false}});
}

void WatchView::Show(const WatchRound& round) {
  if (!isInPlace_) {
    display_.Answer(RoundText(round, std::exchange(before_, round.text)));
    if (!round.notices.empty()) display_.Notice(round.notices);
    return;
  }
  if (!rows_.empty()) rows_.erase(rows_.begin());
  rows_ = MarkedRows(round.text + round.notices, rows_);
  rows_.insert(rows_.begin(), {head_ + CountText(round), false});
  display_.Block(rows_);
}

void WatchView::End() {
  if (!isInPlace_) return;
  display_.EndBlock();
  std::string text;
  for (const BlockRow& row : rows_) text += row.text + "\n";
  display_.Answer(text);
}

}  // namespace kiv
