#include "hosts/terminal/change_notes.h"

#include <algorithm>
#include <utility>

#include "hosts/terminal/console_texts.h"
#include "platform/base/result_codes.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::size_t kFieldsInARow = 3;
constexpr std::size_t kRowBytes = 100;
constexpr std::size_t kMaxRows = 100;
constexpr std::size_t kMaxPathBytes = 40;  // a longer one moves its own row only

std::string FirstWord(std::wstring_view line) {
  line.remove_prefix(std::min(line.find_first_not_of(L' '), line.size()));
  return ShownLine(line.substr(0, line.find(L' ')));
}

std::string ValuesText(const hostbench::FieldChange& change) {
  return Cut(ShownLine(change.before)) + " -> " + Cut(ShownLine(change.after));
}

}  // namespace

std::string ChangesText(const std::string& name, const hostbench::ReplyChanges& changes) {
  if (changes.count == 0) return "kiv: nothing changed since the last " + Cut(name) + "\n";
  const std::string head = "kiv: changed since the last " + Cut(name) + ":";
  const std::size_t rows = std::min(changes.fields.size(), kMaxRows);
  std::string oneRow = head;
  std::size_t pathBytes = 0;
  for (std::size_t i = 0; i < rows; ++i) {
    const std::string path = ShownLine(changes.fields[i].path);
    pathBytes = std::max(pathBytes, path.size());
    oneRow += (i == 0 ? " " : ", ") + path + " " + ValuesText(changes.fields[i]);
  }
  if (changes.count <= kFieldsInARow && oneRow.size() <= kRowBytes) return oneRow + "\n";
  pathBytes = std::min(pathBytes, kMaxPathBytes);
  std::string text = head + "\n";
  for (std::size_t i = 0; i < rows; ++i) {
    std::string path = ShownLine(changes.fields[i].path);
    path.resize(std::max(path.size(), pathBytes), ' ');
    text += "kiv:   " + path + "  " + ValuesText(changes.fields[i]) + "\n";
  }
  if (changes.count > rows) {
    text += "kiv:   and " + std::to_string(changes.count - rows) + " more\n";
  }
  return text;
}

void ChangeNotes::LineFinished(const FinishedLine& line) {
  before_.reset();
  const bool isTold =
      (std::exchange(isNextTold_, false) || areTold_) && !std::exchange(isNextHeld_, false);
  if (!line.record.isComparable || line.isLoad) return;
  cmdId_ = line.record.cmdId;
  reply_ = line.record.reply;
  before_ = memory_.Exchange(cmdId_, line.record.request, reply_);
  if (!isTold) return;
  if (const auto changes = Changes()) {
    display_.Notice(ChangesText(FirstWord(line.text), *changes));
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
