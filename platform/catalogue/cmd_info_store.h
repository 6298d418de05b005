// CmdInfoStore: the commands of a catalogue as consoles enumerate them, packed: 16 bytes a command,
// its name in one arena of wide characters, its description in one arena of UTF-8. A hundred
// thousand commands fit in 16 MiB.
//
// Threads: immutable once filled, so any. Shared by the catalogue and every CmdInfo.
// Errors: filling throws std::bad_alloc; Fill answers statuses of result_codes.h.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

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
    const std::uint32_t at = records_[index].nameChars;
    return names_[at / kNameBlockChars].get() + at % kNameBlockChars;
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
  // One command; texts are offsets into the common blocks.
  struct Record {
    std::uint32_t id;
    std::uint32_t nameChars;  // where the name begins in the blocks of names
    std::uint32_t
        textBytes;  // where the description begins in texts_; it ends where the next begins
    std::uint16_t group;
    std::uint16_t flags;
  };

  // Names stand in blocks of so many characters, so that a hundred thousand of them grow without
  // being copied.
  static constexpr std::uint32_t kNameBlockChars = 65536;

  // Where `lengthChars` characters and a zero have room, in one block.
  std::uint32_t RoomForName(std::size_t lengthChars);
  template <typename Name>
  void StoreName(std::uint32_t at, const Name& name);
  void TrimNames();
  std::uint32_t FillCommands(const SqliteFile& file);
  std::uint32_t FillCombinedTexts(const SqliteFile& file);
  bool FindGroup(std::string_view group, std::uint16_t& index);

  std::vector<Record> records_;
  // A name longer than a block has one of its own, as long as it needs, and the places in names_
  // that this covers stay empty.
  std::vector<std::unique_ptr<wchar_t[]>> names_;
  std::uint32_t nameEnd_ = 0;  // of the last name, in characters of all blocks
  std::string texts_;
  std::vector<std::string> groups_;
  std::unordered_map<std::string, std::uint16_t> groupIndices_;
  std::unordered_map<std::uint32_t, std::vector<std::string>> combined_;
};
