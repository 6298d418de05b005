// CommandIndex: the commands of a catalogue, to be found while their names are typed.
//
// Kept in memory, not asked of the catalogue file's full-text index: that one knows whole words
// only ("mem" would not find "memory"), cannot rank by resemblance, and holds commands that may not
// be sent. Building one of 20,000 commands takes some 20 ms, of 100,000 some 100 ms: a host builds
// it on another thread (CommandIndexLater) or when it is first needed, never before its first
// prompt. Memory: the names and descriptions once more, as folded UTF-8.
//
// Threads: immutable once built, so any. Owns its folded texts and a share of the enumeration.
// Errors: searching cannot fail; building throws std::bad_alloc only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hosts/bench/resemblance.h"
#include "platform/catalogue/cmd_info.h"
#include "platform/text/qc_string.h"

namespace hostbench {

// How a command was found; better ones first.
enum class MatchKind : std::uint8_t {
  kPrefix,        // its name begins with the text, in this case: what the module would compare
  kFoldedPrefix,  // it does in another case
  kFuzzy,         // its name has the text's characters in this order
  kDescription,   // its description has the text
};

// One command that was found.
struct CommandMatch {
  std::uint32_t index;  // of At()
  MatchKind kind;

  friend bool operator==(const CommandMatch&, const CommandMatch&) = default;
};

// What Complete found: at most as many rows as asked for.
struct CommandMatches {
  std::vector<CommandMatch> rows;
  // Of all commands, in the rows or not: those that are kPrefix; those that are kFoldedPrefix; the
  // others. The last two are counted only where the first leave room in the rows.
  std::size_t prefixCount = 0;
  std::size_t foldedCount = 0;
  std::size_t otherCount = 0;
};

// Finds commands by the beginning of their names, by resemblance and by words.
class CommandIndex {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

  // Of two commands with one name the first counts, as it does for the module.
  explicit CommandIndex(std::vector<CmdInfo> commands);

  std::size_t Count() const noexcept { return commands_.size(); }
  // `index` < Count(); in the order in which they were given.
  const CmdInfo& At(std::uint32_t index) const noexcept { return commands_[index]; }
  // The command of exactly this name, kNone when there is none.
  std::uint32_t IndexOf(std::wstring_view name) const noexcept;

  // Commands for a word that is being typed: those whose names begin with it, by name; when these
  // leave room, those that resemble it, best first. An empty word is the beginning of all names.
  CommandMatches Complete(std::wstring_view word, std::size_t limit) const;
  // What all names that begin with the word (in this case) have in common, at least the word; empty
  // when there is no such name.
  std::wstring CommonPrefix(std::wstring_view word) const;

  // Names that are a slip away from a wrong word, nearest first: one letter more, less, another, or
  // two that changed places, for each four letters that it has (at least one, at most three).
  // Another case alone counts as nothing. Empty when nothing is that near.
  std::vector<std::uint32_t> Nearest(std::wstring_view word, std::size_t limit) const;

  // Commands that have every word in name, description or group, in any case; words are separated
  // by blanks. Those with all words in the name come first, then by name. Nothing for no words.
  std::vector<std::uint32_t> Find(std::wstring_view words, std::size_t limit,
                                  std::size_t* total = nullptr) const;

 private:
  // One command's folded texts: runs of texts_.
  struct Entry {
    PairBits pairs;         // of name, description and group
    std::uint64_t letters;  // of the name
    std::uint32_t start;    // name, description and group, a line feed behind each
    std::uint32_t nameBytes;
    std::uint32_t totalBytes;
  };

  void AddEntry(const CmdInfo& command);
  std::string_view FoldedName(const Entry& entry) const noexcept;
  std::string_view FoldedTexts(const Entry& entry) const noexcept;  // all but the name
  // Range of byName_ whose names begin with the word.
  std::pair<std::size_t, std::size_t> PrefixRange(std::wstring_view word) const noexcept;
  void AddResembling(const std::string& folded, std::size_t limit, CommandMatches& matches) const;

  std::vector<CmdInfo> commands_;
  std::vector<std::wstring_view> names_;  // of commands_, in their store
  std::vector<std::uint32_t> byName_;     // sorted by name, each name once
  std::string texts_;
  std::vector<Entry> entries_;  // as commands_
};

// As the module writes it: "0x1f".
std::wstring CommandIdText(std::uint32_t id);

// The commands that the module would take, read from the compiled catalogue at `cataloguePath` (the
// caller's, as hosts set it up). 0, else the status of reading it; `commands` is then empty.
std::uint32_t ReadCommands(const QCString& cataloguePath, std::vector<CmdInfo>& commands);

// An index that is built on a thread of its own while the host goes on to its first prompt.
//
// Threads: one thread asks. The destructor waits until building has ended.
class CommandIndexLater {
 public:
  // `others` are words that a host wants completed too: help, those of text channels.
  CommandIndexLater(QCString cataloguePath, std::vector<CmdInfo> others);

  // Waits for it; never null. A catalogue that cannot be read gives the `others` alone.
  const std::shared_ptr<const CommandIndex>& Get();
  bool IsReady() const;

 private:
  std::future<std::shared_ptr<const CommandIndex>> pending_;
  std::shared_ptr<const CommandIndex> index_;
};

}  // namespace hostbench
