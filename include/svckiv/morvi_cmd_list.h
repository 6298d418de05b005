// MorviCmdList: the diagnostic command list that the facade hands out.
//
// Always begins with the two help entries, then the catalogue's commands in ascending order of id.
// Two commands of one name both stand in the list; a look-up by name finds the first.
//
// Threads: the facade's; the list does not change after it was filled.
// Owned by the module: the pointer stays valid until SvcKiv::Stop(), also after ReloadDb().
#pragma once

#include <cstddef>
#include <cstdint>
#include <cwchar>
#include <string_view>

#include "platform/catalogue/cmd_info.h"
#include "platform/text/qc_list.h"
#include "platform/text/qc_string.h"
#include "svckiv/command_name_index.h"

namespace SvcKivSpace {

// Help entries first, then commands; a look-up by name costs the same however many there are.
class MorviCmdList {
 public:
  // A word that is no command of the catalogue.
  struct HelpEntry {
    QCString name;
    QCString description;
  };

  void Clear() {
    help_.RemoveAll();
    commands_.RemoveAll();
    byName_.Clear();
  }
  void AddHelp(QCString name, QCString description) {
    help_.AddTail({std::move(name), std::move(description)});
  }
  void AddCommand(CmdInfo command) {
    const auto place = static_cast<std::uint32_t>(commands_.GetCount());
    const wchar_t* const name = command.GetName();
    commands_.AddTail(std::move(command));
    byName_.Add(name, place, NameAt{commands_});
  }
  void ReserveCommands(std::size_t count) {
    commands_.Reserve(count);
    byName_.Reserve(count, NameAt{commands_});
  }

  const QCList<HelpEntry>& Help() const noexcept { return help_; }
  const QCList<CmdInfo>& Commands() const noexcept { return commands_; }
  // Help entries included.
  std::size_t GetCount() const noexcept { return help_.GetCount() + commands_.GetCount(); }
  // Exact and case-sensitive; null when there is none. Help entries are no commands.
  const CmdInfo* Find(std::wstring_view name) const {
    const std::uint32_t place = byName_.Find(name, NameAt{commands_});
    return place == CommandNameIndex::kNone ? nullptr : &commands_[place];
  }

 private:
  struct NameAt {
    const QCList<CmdInfo>& commands;
    std::wstring_view operator()(std::uint32_t place) const { return commands[place].GetName(); }
  };

  QCList<HelpEntry> help_;
  QCList<CmdInfo> commands_;
  CommandNameIndex byName_;
};

}  // namespace SvcKivSpace
