#include "hosts/terminal/command_memory.h"

#include <algorithm>
#include <utility>

#include "hosts/terminal/typed_record.h"
#include "platform/base/result_codes.h"

namespace kiv {

using SvcKivSpace::KivCommandRecord;
using SvcKivSpace::KivKeyBinding;
using SvcKivSpace::KivKeyBindings;

namespace {

bool IsSame(const KivKeyBinding& one, const KivKeyBinding& other) {
  return one.value == other.value && one.name == other.name;
}

bool AreSame(const KivKeyBindings& one, const KivKeyBindings& other) {
  return IsSame(one.repeatCmd, other.repeatCmd) && IsSame(one.sendCmd, other.sendCmd) &&
         IsSame(one.listHistoryCmd, other.listHistoryCmd) &&
         IsSame(one.listRecentCmd, other.listRecentCmd) && IsSame(one.cancel, other.cancel);
}

}  // namespace

KeptCommands CommandMemory::All() const {
  KeptCommands all;
  const SvcKivSpace::KivCommandLists& lists = config_.Lists();
  for (const KivCommandRecord& record : lists.favourites) all.favourites.push_back(LineOf(record));
  std::transform(lists.shortcuts.begin(), lists.shortcuts.end(), all.shortcuts.begin(), LineOf);
  return all;
}

Kept CommandMemory::Saved() { return config_.Save() == result::kOk ? Kept::kYes : Kept::kNotSaved; }

Kept CommandMemory::AddFavourite(const std::wstring& line, std::size_t& number) {
  if (!IsThere()) return Kept::kNoSettings;
  KivCommandRecord record = RecordOf(line);
  if (!CanBeKept(record)) return Kept::kTooLong;
  const std::vector<std::wstring> lines = All().favourites;
  const auto same = std::find(lines.begin(), lines.end(), LineOf(record));
  number = static_cast<std::size_t>(same - lines.begin()) + 1;
  if (same != lines.end()) return Kept::kAlready;
  config_.Lists().favourites.AddTail(std::move(record));
  config_.WriteFavourites();
  return Saved();
}

Kept CommandMemory::RemoveFavourite(std::size_t number) {
  if (!IsThere()) return Kept::kNoSettings;
  QCList<KivCommandRecord>& favourites = config_.Lists().favourites;
  if (number == 0 || number > favourites.GetCount()) return Kept::kNotThere;
  favourites.RemoveAt(number - 1);
  config_.WriteFavourites();
  return Saved();
}

Kept CommandMemory::SetShortcut(std::size_t number, const std::wstring& line) {
  if (!IsThere()) return Kept::kNoSettings;
  auto& slots = config_.Lists().shortcuts;
  if (number == 0 || number > slots.size()) return Kept::kNotThere;
  KivCommandRecord record = RecordOf(line);
  if (!line.empty() && !CanBeKept(record)) return Kept::kTooLong;
  slots[number - 1] = std::move(record);
  config_.WriteShortcuts();
  return Saved();
}

Imported CommandMemory::Import(const std::wstring& path, const CarriedGroups& groups) {
  const KivKeyBindings before = config_.KeyBindings();
  const std::uint32_t status =
      config_.Import(path.c_str(), groups.keys, groups.favourites, groups.shortcuts);
  const std::uint32_t saved = config_.Save();
  return {status != result::kOk ? status : saved, !AreSame(before, config_.KeyBindings())};
}

std::uint32_t CommandMemory::Export(const std::wstring& path, const CarriedGroups& groups) {
  return config_.Export(path.c_str(), groups.keys, groups.favourites, groups.shortcuts);
}

}  // namespace kiv
