#include "hosts/bench/line_completion.h"

#include <algorithm>
#include <utility>

#include "hosts/bench/typed_text.h"
#include "platform/os/utf8.h"
#include "platform/text/qc_string.h"
#include "platform/text/shown_text.h"

namespace hostbench {
namespace {

constexpr std::wstring_view kLoadWord = L"ldnv";

bool CanBeTyped(std::wstring_view text) { return ShownLine(text) == os::WideToUtf8(text); }

std::wstring CommonBeginning(const std::vector<FieldCandidate>& candidates) {
  std::wstring common = candidates.front().typed;
  for (const FieldCandidate& each : candidates) {
    const auto [end, other] =
        std::mismatch(common.begin(), common.end(), each.typed.begin(), each.typed.end());
    common.erase(end, common.end());
  }
  return common;
}

// Sets the common part and the total where the candidates are all that there are.
void Close(Completion& completion, std::wstring_view typed) {
  std::erase_if(completion.candidates,
                [](const FieldCandidate& each) { return !CanBeTyped(each.typed); });
  completion.total = completion.candidates.size();
  completion.common = typed;
  if (completion.candidates.empty()) return;
  std::wstring common = CommonBeginning(completion.candidates);
  if (completion.total == 1 || common.starts_with(typed)) completion.common = std::move(common);
}

// How many commands of the best kind there are that the word may become; `isOfKind` is true for
// those.
std::size_t BestKind(const CommandMatches& matches, bool (*&isOfKind)(MatchKind)) {
  if (matches.prefixCount != 0) {
    isOfKind = [](MatchKind kind) { return kind == MatchKind::kPrefix; };
    return matches.prefixCount;
  }
  if (matches.foldedCount != 0) {
    isOfKind = [](MatchKind kind) { return kind == MatchKind::kFoldedPrefix; };
    return matches.foldedCount;
  }
  isOfKind = [](MatchKind) { return true; };
  return matches.otherCount;
}

Completion CompleteName(const LineGuide& guide, const LineHelp& help, std::wstring_view typed) {
  const CommandIndex& commands = guide.Commands();
  Completion completion;
  completion.from = help.from;
  completion.behind = L" ";
  bool (*isOfKind)(MatchKind) = nullptr;
  const std::size_t total = BestKind(help.commands, isOfKind);
  for (const CommandMatch& match : help.commands.rows) {
    if (!isOfKind(match.kind)) continue;
    const CmdInfo& command = commands.At(match.index);
    completion.candidates.push_back({command.GetName(), command.GetDescription().str()});
  }
  const std::size_t listed = completion.candidates.size();
  Close(completion, typed);
  if (total <= listed) return completion;
  completion.total = total;
  // Of those beyond the limit, too.
  const std::wstring common = commands.CommonPrefix(typed);
  const bool isLonger = common.size() > typed.size() && CanBeTyped(common);
  completion.common = isLonger ? common : std::wstring(typed);
  return completion;
}

// A value that is complete is followed by what must come behind it.
void AddFollowing(Completion& completion, const FieldHelp& field, std::wstring_view typed) {
  const bool isWhole = completion.candidates.size() == 1 && completion.candidates[0].typed == typed;
  if (isWhole && field.closes.empty()) completion.candidates[0].typed += field.follows;
}

Completion CompleteParameters(const LineHelp& help, std::wstring_view line, std::size_t cursor) {
  const FieldHelp& field = help.field;
  Completion completion;
  completion.from = std::min(field.from, cursor);
  completion.note = help.text;
  const std::wstring_view typed = line.substr(completion.from, cursor - completion.from);
  if (field.state == HelpState::kFilePath) {
    completion.isPath = true;
    const bool isTag = completion.from != 0 && line[completion.from - 1] == L'<';
    if (isTag) completion.behind = L")";
    if (!typed.empty()) completion.note.clear();
  } else if (field.state == HelpState::kBehind) {
    completion.candidates.push_back({field.follows, {}});
  } else if (field.state == HelpState::kField && typed.empty() && !field.opens.empty() &&
             !field.bracesOptional) {
    completion.candidates.push_back({field.opens, {}});
  } else if (!field.candidates.empty()) {
    completion.candidates = field.candidates;
    AddFollowing(completion, field, typed);
  } else if (!typed.empty()) {
    completion.candidates = field.options;
  }
  Close(completion, typed);
  return completion;
}

// The path behind the word that loads a file, which the module takes in capitals, too.
bool FindLoadPath(std::wstring_view line, std::size_t cursor, Completion& completion) {
  const TypedParts parts = SplitTypedSoFar(line.substr(0, cursor));
  const bool hasPath = parts.rest.columns[0] != parts.word.columns.back();
  if (!hasPath || QCString(parts.word.text).ToLower() != QCString(kLoadWord)) return false;
  completion.from = parts.rest.ColumnAt(0);
  completion.isPath = true;
  return true;
}

}  // namespace

Completion CompleteLine(LineGuide& guide, std::wstring_view line, std::size_t cursor,
                        std::size_t limit) {
  cursor = std::min(cursor, line.size());
  Completion completion;
  if (FindLoadPath(line, cursor, completion)) {
    completion.common = line.substr(completion.from, cursor - completion.from);
    return completion;
  }
  const LineHelp help = guide.At(line, cursor, limit);
  switch (help.place) {
    case LinePlace::kWord:
      return CompleteName(guide, help, line.substr(help.from, cursor - help.from));
    case LinePlace::kParameters:
      return CompleteParameters(help, line, cursor);
    case LinePlace::kNothing:
      break;
  }
  completion.from = cursor;
  return completion;
}

Completion CompleteWord(std::wstring_view line, std::size_t from,
                        std::vector<FieldCandidate> words) {
  Completion completion;
  completion.from = from;
  completion.behind = L" ";
  completion.candidates = std::move(words);
  Close(completion, line.substr(from));
  return completion;
}

}  // namespace hostbench
