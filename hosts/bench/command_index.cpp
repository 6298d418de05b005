#include "hosts/bench/command_index.h"

#include <algorithm>
#include <bit>
#include <chrono>
#include <limits>
#include <new>
#include <numeric>

#include "hosts/bench/edit_distance.h"
#include "platform/catalogue/cmd_database.h"
#include "platform/os/utf8.h"
#include "platform/text/qc_list.h"

namespace hostbench {
namespace {

// Which commands a console may send: those with a request and those without, on the diagnostic
// channel.
constexpr std::uint32_t kAllScopes = 3;
constexpr std::uint32_t kDiagChannel = 256;

constexpr std::size_t kLettersForEachSlip = 4;
constexpr std::size_t kMostSlips = 3;

std::string Folded(std::wstring_view text) {
  std::string folded;
  folded.reserve(text.size() + 1);
  std::size_t plain = 0;
  while (plain < text.size() && static_cast<char32_t>(text[plain]) < 0x80) {
    const char ch = static_cast<char>(text[plain++]);
    folded += ch >= 'A' && ch <= 'Z' ? static_cast<char>(ch + ('a' - 'A')) : ch;
  }
  if (plain == text.size()) return folded;
  return folded += os::WideToUtf8(QCString(text.substr(plain)).ToLower().view());
}

std::vector<std::string> WordsOf(std::wstring_view text) {
  std::vector<std::string> words(1);
  for (const char ch : Folded(text)) {
    if (ch != ' ' && ch != '\t' && ch != '\n') {
      words.back() += ch;
    } else if (!words.back().empty()) {
      words.emplace_back();
    }
  }
  if (words.back().empty()) words.pop_back();
  return words;
}

// A command with what it is sorted by: less is better; equal ones stay in order of name.
struct Ranked {
  std::uint32_t rank;
  std::uint32_t index;
};

// The best `limit` of them, best first.
void KeepBest(std::vector<Ranked>& ranked, std::size_t limit) {
  std::stable_sort(ranked.begin(), ranked.end(),
                   [](const Ranked& a, const Ranked& b) { return a.rank < b.rank; });
  if (ranked.size() > limit) ranked.resize(limit);
}

}  // namespace

CommandIndex::CommandIndex(std::vector<CmdInfo> commands) : commands_(std::move(commands)) {
  names_.reserve(commands_.size());
  entries_.reserve(commands_.size());
  texts_.reserve(commands_.size() * 96);
  for (const CmdInfo& command : commands_) {
    names_.emplace_back(command.GetName());
    AddEntry(command);
  }
  texts_.shrink_to_fit();
  byName_.resize(commands_.size());
  std::iota(byName_.begin(), byName_.end(), 0u);
  std::stable_sort(byName_.begin(), byName_.end(),
                   [this](std::uint32_t a, std::uint32_t b) { return names_[a] < names_[b]; });
  byName_.erase(
      std::unique(byName_.begin(), byName_.end(),
                  [this](std::uint32_t a, std::uint32_t b) { return names_[a] == names_[b]; }),
      byName_.end());
}

void CommandIndex::AddEntry(const CmdInfo& command) {
  Entry entry{};
  entry.start = static_cast<std::uint32_t>(texts_.size());
  const std::string name = Folded(command.GetName());
  texts_ += name;
  texts_ += '\n';
  texts_ += Folded(command.GetDescription().view());
  texts_ += '\n';
  texts_ += Folded(command.GetGroup().view());
  texts_ += '\n';
  entry.letters = LettersOf(name);
  entry.nameBytes = static_cast<std::uint32_t>(name.size());
  entry.totalBytes = static_cast<std::uint32_t>(texts_.size() - entry.start);
  entry.pairs = PairBits::Of(std::string_view(texts_).substr(entry.start));
  entries_.push_back(entry);
}

std::string_view CommandIndex::FoldedName(const Entry& entry) const noexcept {
  return std::string_view(texts_).substr(entry.start, entry.nameBytes);
}

std::string_view CommandIndex::FoldedTexts(const Entry& entry) const noexcept {
  return std::string_view(texts_).substr(entry.start + entry.nameBytes + 1,
                                         entry.totalBytes - entry.nameBytes - 1);
}

std::uint32_t CommandIndex::IndexOf(std::wstring_view name) const noexcept {
  const auto [first, last] = PrefixRange(name);
  return first != last && names_[byName_[first]] == name ? byName_[first] : kNone;
}

std::pair<std::size_t, std::size_t> CommandIndex::PrefixRange(
    std::wstring_view word) const noexcept {
  const auto beginning = [this, word](std::uint32_t index) {
    return names_[index].substr(0, word.size());
  };
  const auto first = std::partition_point(
      byName_.begin(), byName_.end(), [&](std::uint32_t each) { return beginning(each) < word; });
  const auto last = std::partition_point(
      first, byName_.end(), [&](std::uint32_t each) { return beginning(each) == word; });
  return {static_cast<std::size_t>(first - byName_.begin()),
          static_cast<std::size_t>(last - byName_.begin())};
}

CommandMatches CommandIndex::Complete(std::wstring_view word, std::size_t limit) const {
  CommandMatches matches;
  const auto [first, last] = PrefixRange(word);
  matches.prefixCount = last - first;
  for (std::size_t i = first; i < last && matches.rows.size() < limit; ++i) {
    matches.rows.push_back({byName_[i], MatchKind::kPrefix});
  }
  if (matches.rows.size() < limit && !word.empty()) AddResembling(Folded(word), limit, matches);
  return matches;
}

// All that begin with the word are in the rows already.
void CommandIndex::AddResembling(const std::string& folded, std::size_t limit,
                                 CommandMatches& matches) const {
  std::vector<bool> taken(commands_.size());
  for (const CommandMatch& match : matches.rows) taken[match.index] = true;
  const std::uint64_t letters = LettersOf(folded);
  const PairBits pairs = PairBits::Of(folded);
  std::vector<Ranked> folds;
  std::vector<Ranked> fuzzy;
  std::vector<Ranked> described;
  for (const std::uint32_t index : byName_) {
    if (taken[index]) continue;
    const Entry& entry = entries_[index];
    const bool mayResemble = (letters & ~entry.letters) == 0;
    if (mayResemble && FoldedName(entry).starts_with(folded)) {
      folds.push_back({0, index});
      continue;
    }
    const std::uint32_t score = mayResemble ? Resemblance(folded, FoldedName(entry)) : 0;
    if (score != 0) {
      fuzzy.push_back({std::numeric_limits<std::uint32_t>::max() - score, index});
    } else if (folded.size() > 1 && entry.pairs.MayHold(pairs) &&
               FoldedTexts(entry).find(folded) != std::string_view::npos) {
      described.push_back({0, index});
    }
  }
  matches.foldedCount = folds.size();
  matches.otherCount = fuzzy.size() + described.size();
  const auto add = [&](std::vector<Ranked>& ranked, MatchKind kind) {
    KeepBest(ranked, limit - matches.rows.size());
    for (const Ranked& each : ranked) matches.rows.push_back({each.index, kind});
  };
  add(folds, MatchKind::kFoldedPrefix);
  add(fuzzy, MatchKind::kFuzzy);
  add(described, MatchKind::kDescription);
}

std::wstring CommandIndex::CommonPrefix(std::wstring_view word) const {
  const auto [first, last] = PrefixRange(word);
  if (first == last) return {};
  // Sorted: what the outer two have in common, all have.
  const std::wstring_view a = names_[byName_[first]];
  const std::wstring_view b = names_[byName_[last - 1]];
  return std::wstring(a.begin(), std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first);
}

std::vector<std::uint32_t> CommandIndex::Nearest(std::wstring_view word, std::size_t limit) const {
  const std::string folded = Folded(word);
  const std::size_t most =
      std::clamp<std::size_t>(folded.size() / kLettersForEachSlip, 1, kMostSlips);
  const std::uint64_t letters = LettersOf(folded);
  std::vector<Ranked> near;
  for (const std::uint32_t index : byName_) {
    const Entry& entry = entries_[index];
    // A slip changes two letters at most.
    if (static_cast<std::size_t>(std::popcount(letters ^ entry.letters)) > 2 * most) continue;
    const std::string_view name = FoldedName(entry);
    const std::size_t slips = EditDistance(folded, name, most);
    if (slips > most || slips >= folded.size() || names_[index] == word) continue;
    // Of equally near ones those with the same first letter: it is seldom the wrong one.
    const bool sameStart = !name.empty() && !folded.empty() && name[0] == folded[0];
    near.push_back({static_cast<std::uint32_t>(slips * 2 + (sameStart ? 0 : 1)), index});
  }
  KeepBest(near, limit);
  std::vector<std::uint32_t> nearest;
  for (const Ranked& each : near) nearest.push_back(each.index);
  return nearest;
}

std::vector<std::uint32_t> CommandIndex::Find(std::wstring_view words, std::size_t limit,
                                              std::size_t* total) const {
  std::vector<Ranked> found;
  const std::vector<std::string> wanted = WordsOf(words);
  std::vector<PairBits> pairs;
  for (const std::string& word : wanted) pairs.push_back(PairBits::Of(word));
  for (const std::uint32_t index : byName_) {
    const Entry& entry = entries_[index];
    bool inName = true;
    bool inTexts = !wanted.empty();
    for (std::size_t i = 0; i < wanted.size() && inTexts; ++i) {
      inTexts = entry.pairs.MayHold(pairs[i]);
      if (!inTexts || FoldedName(entry).find(wanted[i]) != std::string_view::npos) continue;
      inName = false;
      inTexts = FoldedTexts(entry).find(wanted[i]) != std::string_view::npos;
    }
    if (inTexts) found.push_back({inName ? 0u : 1u, index});
  }
  if (total != nullptr) *total = found.size();
  KeepBest(found, limit);
  std::vector<std::uint32_t> rows;
  for (const Ranked& each : found) rows.push_back(each.index);
  return rows;
}

std::wstring CommandIdText(std::uint32_t id) {
  static constexpr wchar_t kDigits[] = L"0123456789abcdef";
  std::wstring digits;
  for (; id != 0 || digits.empty(); id >>= 4) digits.insert(digits.begin(), kDigits[id & 15]);
  return L"0x" + digits;
}

std::uint32_t ReadCommands(const QCString& cataloguePath, std::vector<CmdInfo>& commands) {
  commands.clear();
  CCmdDatabase database(cataloguePath);
  QCList<CmdInfo> list;
  const std::uint32_t status = database.EnumCommands(list, kAllScopes, kDiagChannel, 0, 0);
  if (status != 0) return status;
  commands.reserve(list.GetCount());
  for (CmdInfo& command : list) {
    if (!database.IsCmdIdInWhiteList(CommandIdText(command.GetId()).c_str())) continue;
    commands.push_back(std::move(command));
  }
  return 0;
}

CommandIndexLater::CommandIndexLater(QCString cataloguePath, std::vector<CmdInfo> others)
    : pending_(std::async(std::launch::async,
                          [path = std::move(cataloguePath), others = std::move(others)]() mutable {
                            std::vector<CmdInfo> commands;
                            ReadCommands(path, commands);
                            // A host's own word stands for a command of the same name: that is what
                            // a line means.
                            commands.insert(commands.begin(), others.begin(), others.end());
                            return std::make_shared<const CommandIndex>(std::move(commands));
                          })) {}

const std::shared_ptr<const CommandIndex>& CommandIndexLater::Get() {
  if (index_ == nullptr) index_ = pending_.get();
  return index_;
}

bool CommandIndexLater::IsReady() const {
  return index_ != nullptr ||
         pending_.wait_for(std::chrono::seconds(0)) == std::future_status::ready;
}

}  // namespace hostbench
