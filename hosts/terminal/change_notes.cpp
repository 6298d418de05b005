#include "hosts/terminal/change_notes.h"

#include <algorithm>
#include <utility>

#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/load_layout.h"
#include "platform/base/result_codes.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::size_t kFieldsInARow = 3;
constexpr std::size_t kRowBytes = 100;
constexpr std::size_t kMaxRows = 100;
constexpr std::size_t kMaxPathBytes = 40;  // a longer one moves its own row only

std::string ValuesText(const hostbench::FieldChange& change) {
  return Cut(ShownLine(change.before)) + " -> " + Cut(ShownLine(change.after));
}

}  // namespace

std::vector<std::string> ChangeRows(const hostbench::ReplyChanges& changes) {
  const std::size_t shown = std::min(changes.fields.size(), kMaxRows);
  std::size_t pathBytes = 0;
  for (std::size_t i = 0; i < shown; ++i) {
    pathBytes = std::max(pathBytes, ShownLine(changes.fields[i].path).size());
  }
  pathBytes = std::min(pathBytes, kMaxPathBytes);
  std::vector<std::string> rows;
  for (std::size_t i = 0; i < shown; ++i) {
    std::string path = ShownLine(changes.fields[i].path);
    path.resize(std::max(path.size(), pathBytes), ' ');
    rows.push_back(path + "  " + ValuesText(changes.fields[i]));
  }
  if (changes.count > shown) {
    rows.push_back("and " + std::to_string(changes.count - shown) + " more");
  }
  return rows;
}

std::string ChangesText(const std::string& name, const hostbench::ReplyChanges& changes) {
  if (changes.count == 0) return "kiv: nothing changed since the last " + Cut(name) + "\n";
  const std::string head = "kiv: changed since the last " + Cut(name) + ":";
  if (changes.count <= kFieldsInARow) {
    std::string row = head;
    for (const hostbench::FieldChange& change : changes.fields) {
      row += (row == head ? " " : ", ") + ShownLine(change.path) + " " + ValuesText(change);
    }
    if (row.size() <= kRowBytes) return row + "\n";
  }
  std::string text = head + "\n";
  for (const std::string& row : ChangeRows(changes)) text += "kiv:   " + row + "\n";
  return text;
}

void ChangeNotes::LineFinished(const FinishedLine& line) {
  before_.reset();
  const bool isTold = (std::exchange(isNextTold_, false) || areTold_) && !line.isRound;
  if (!line.record.isComparable || line.isLoad) return;
  cmdId_ = line.record.cmdId;
  reply_ = line.record.reply;
  before_ = memory_.Exchange(cmdId_, line.record.request, reply_);
  if (!isTold) return;
  if (const auto changes = Changes()) {
    display_.Notice(ChangesText(ShownLine(WordOf(line.text)), *changes));
  }
}

std::optional<hostbench::ReplyChanges> ChangeNotes::Changes() const {
  hostbench::ReplyChanges changes;
  if (!before_) return std::nullopt;
  if (hostbench::CompareReplies(cmdId_, *before_, reply_, changes) != result::kOk) {
    return std::nullopt;
  }
  return changes;
}

void ChangeNotes::Forget() {
  memory_.Forget();
  before_.reset();
}

}  // namespace kiv
