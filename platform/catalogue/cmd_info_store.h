// CmdInfoStore: the commands of a catalogue as consoles enumerate them, packed: 16 bytes a command,
// its name in an arena of wide characters, its description in one of UTF-8. A hundred
// thousand commands fit in 16 MiB.
//
// Threads: immutable once filled, so any. Shared by the catalogue and every CmdInfo.
// Errors: filling throws std::bad_alloc; Fill answers statuses of result_codes.h.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "platform/catalogue/block_arena.h"
#include "platform/catalogue/sqlite_file.h"

// The records of one enumeration, names and texts in common blocks.
class CmdInfoStore {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFFu;

  // Reads all commands of the file, whose table `command` is ordered by id, and seals the store.
  std::uint32_t Fill(const SqliteFile& file);
  // `id` must not be below that of the command before. Answers false when the arenas are full.
  bool Add(std::uint32_t id, std::string_view name, std::string_view description,
           std::string_view group, std::uint32_t flags);
  void AddCombinedText(std::uint32_t index, std::string_view text);
  // Nothing may be added afterwards.
  void Seal();

  std::uint32_t Count() const noexcept { return static_cast<std::uint32_t>(records_.size()); }
  std::uint32_t IdAt(std::uint32_t index) const noexcept { return records_[index].id; }
  const wchar_t* NameAt(std::uint32_t index) const noexcept {
    return names_.At(records_[index].nameChars);
  }
  std::string_view DescriptionAt(std::uint32_t index) const noexcept;
  std::string_view GroupAt(std::uint32_t index) const noexcept {
    return groups_[records_[index].group];
  }
  std::uint32_t FlagsAt(std::uint32_t index) const noexcept { return records_[index].flags; }
  bool HasCombinedText(std::uint32_t index, std::string_view text) const;

  // The first command with the id, kNone when there is none. `hint` is where the last look-up
  // ended: ids that are asked for in order are found at once.
  std::uint32_t Find(std::uint32_t id, std::uint32_t& hint) const noexcept;

 private:
  // One command; texts are places in the common blocks.
  struct Record {
    std::uint32_t id;
    std::uint32_t nameChars;  // place of the name
    std::uint32_t textBytes;  // place of the description; it ends where the next begins
    std::uint16_t group;
    std::uint16_t flags;
  };

  // So that a group is looked up without a string of its own.
  struct GroupHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view group) const noexcept {
      return std::hash<std::string_view>()(group);
    }
  };

  template <typename Name>
  std::uint32_t StoreName(const Name& name);
  std::uint32_t StoreText(std::string_view text);
  void ReserveRecords(const SqliteFile& file);
  std::uint32_t FillCommands(const SqliteFile& file);
  std::uint32_t FillCombinedTexts(const SqliteFile& file);
  bool FindGroup(std::string_view group, std::uint16_t& index);

  std::vector<Record> records_;
  BlockArena<wchar_t> names_;
  BlockArena<char> texts_;
  std::vector<std::string> groups_;
  std::unordered_map<std::string, std::uint16_t, GroupHash, std::equal_to<>> groupIndices_;
  std::unordered_map<std::uint32_t, std::vector<std::string>> combined_;
};
