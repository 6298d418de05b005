// CommandMemory: what the console does with the favourites and the ten shortcut commands of the
// settings: each change is in the settings file when the call returns, merged with what other
// consoles saved. Carries them, and the keys, between settings files.
//
// Threads: the facade's. Borrows the settings object, which lives until SvcKiv::Stop().
// Errors: what could not be saved stays in memory, and the next save brings it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "hosts/terminal/kept_commands.h"
#include "svckiv/svc_kiv_config.h"

namespace kiv {

// What became of a change.
enum class Kept {
  kYes,
  kAlready,     // it is there; nothing was changed
  kNotThere,    // there is nothing with this number
  kTooLong,     // a first word of more than 80 or a rest of more than 16,384 characters
  kNoSettings,  // no settings file is open
  kNotSaved,    // in memory, but not in the file
};

// What is carried between settings files.
struct CarriedGroups {
  bool keys = false;
  bool favourites = false;
  bool shortcuts = false;
};

// What an import came to.
struct Imported {
  std::uint32_t status = 0;  // the module's
  bool keysMoved = false;    // keys of this console are others than before, whatever the status
};

class CommandMemory {
 public:
  explicit CommandMemory(SvcKivSpace::CSVCKIVConfig& config) : config_(config) {}

  KeptCommands All() const;

  // At the end of the favourites. `number`, from 1, gets its place also when it is there already.
  Kept AddFavourite(const std::wstring& line, std::size_t& number);
  Kept RemoveFavourite(std::size_t number);
  // Of the keys 1 to 10; an empty line leaves the key without a command.
  Kept SetShortcut(std::size_t number, const std::wstring& line);

  // What an import has brought before it failed is saved, too; when only the save fails, 3018.
  Imported Import(const std::wstring& path, const CarriedGroups& groups);
  // The module's result codes.
  std::uint32_t Export(const std::wstring& path, const CarriedGroups& groups);

 private:
  bool IsThere() const { return !config_.SettingsPrefix().IsEmpty(); }
  Kept Saved();

  SvcKivSpace::CSVCKIVConfig& config_;
};

}  // namespace kiv
