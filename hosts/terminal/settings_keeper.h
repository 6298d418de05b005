// SettingsKeeper: what the console does with the user's settings: typed lines go into the history,
// and the path of the save file stays whole although the module's record cuts it.
//
// A line is kept as it was typed, whatever became of it: NAME is its first word, PARA what stands
// behind the blank that ends the word. A word of more than 80 characters, or more than 16,384
// behind it, cannot be kept.
//
// Threads: the facade's. Borrows the settings object, which lives until SvcKiv::Stop().
// Errors: a line that could not be saved stays in memory, and the next save brings it.
#pragma once

#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/command_memory.h"
#include "hosts/terminal/console_settings.h"
#include "hosts/terminal/setting_table.h"
#include "svckiv/svc_kiv_config.h"

namespace kiv {

class SettingsKeeper {
 public:
  // `config` has been loaded. With `saveEachLine` a kept line is on the disk when Keep returns,
  // else when SaveAll does.
  SettingsKeeper(SvcKivSpace::CSVCKIVConfig& config, bool saveEachLine);

  // The values of all groups, as they are now.
  ConsoleSettings Values() const;
  struct Change {
    const SettingRow* row;
    std::wstring text;  // of the attribute
  };
  enum class SetOutcome {
    kSaved,
    kNotSaved,    // the values hold, and a later save may bring them
    kNotWritten,  // those in front of the one that the document cannot have hold
    kNoSettings,
  };
  // Gives attributes of one group new values and saves; also those that storing leaves out.
  SetOutcome Set(const SettingGroup& group, std::span<const Change> changes);
  // Whether the settings of this console were found.
  bool AreThere() const;
  // Whether each indication is shown, by the settings as they are now.
  bool ShowsIndications() const { return config_.IndicationsEnabled() != 0; }
  // How long indications are shown after a command where the settings show none otherwise.
  int InstantIndMs() const;
  // False when it could not be saved. Does nothing when the user switched the history off.
  bool Keep(std::wstring_view line);
  // Brings what a batch has kept to the disk.
  bool SaveAll();
  // The history, oldest first.
  std::vector<std::wstring> Lines() const;
  // The last line of this run, whether or not it could be kept, else the newest of the history.
  std::wstring LastLine() const;
  // Favourites and shortcut commands.
  CommandMemory Commands() { return CommandMemory(config_); }

 private:
  void HoldWholeSavePath();
  void WriteLongSavePath();
  void WriteGroup(const SettingGroup& group);
  void ReadGroup(const SettingGroup& group);
  bool Store(const SvcKivSpace::KivCommandRecord* newest);

  SvcKivSpace::CSVCKIVConfig& config_;
  const bool saveEachLine_;
  // Of a batch, at most as many as the history keeps: storing costs as much as the history is long.
  std::deque<SvcKivSpace::KivCommandRecord> waiting_;
  std::wstring lastLine_;
  QCString longSavePath_;  // one that the record cannot hold; else empty
};

}  // namespace kiv
