#include "settings/command_lists.h"

#include <string>
#include <utility>
#include <vector>

#include "platform/base/result_codes.h"
#include "platform/base/sys_log_file.h"
#include "service/message/debug_trace.h"
#include "settings/parameter_escape.h"
#include "settings/setting_number.h"
#include "settings/settings_texts.h"

namespace SvcKivClass {
namespace {

using SvcKivSpace::KivCommandLists;
using SvcKivSpace::KivCommandRecord;
using SvcKivSpace::KivSupportedInd;

// Deletes one entry of the list at the position.
using DeleteEntry = std::uint32_t (*)(CXmlConfig& document, const SettingsPlace& place,
                                      const ListTags& tags, std::size_t position);

std::uint32_t DeleteByPath(CXmlConfig& document, const SettingsPlace& place, const ListTags& tags,
                           std::size_t position) {
  return document.DeleteConfigNode(place.Element(tags.entry), place.EntryPath(position));
}

std::uint32_t DeleteByIndex(CXmlConfig& document, const SettingsPlace& place, const ListTags& tags,
                            std::size_t position) {
  return document.DeleteConfigNode2(place.Element(tags.entry), static_cast<std::uint32_t>(position),
                                    place.GroupPath());
}

// One attribute of an entry. False when there is none; `text` is then empty.
bool ReadEntryText(const CXmlConfig& document, const SettingsPlace& place, const ListTags& tags,
                   std::size_t position, const wchar_t* attribute, QCString& text) {
  text.Empty();
  return document.ReadAttrValue(text, attribute, place.Element(tags.entry),
                                place.EntryPath(position)) == result::kOk;
}

// False when the entry has no name; parameters that are missing are empty.
bool ReadCommand(const CXmlConfig& document, const SettingsPlace& place, const ListTags& tags,
                 std::size_t position, KivCommandRecord& record) {
  const bool named = ReadEntryText(document, place, tags, position, kNameAttribute, record.name);
  ReadEntryText(document, place, tags, position, kParametersAttribute, record.parameters);
  record.parameters = UnescapedParameters(std::move(record.parameters));
  return named;
}

void DeleteFromTheEnd(CXmlConfig& document, const SettingsPlace& place, const ListTags& tags,
                      const std::vector<std::size_t>& positions, DeleteEntry deleteEntry) {
  for (auto position = positions.rbegin(); position != positions.rend(); ++position) {
    deleteEntry(document, place, tags, *position);
  }
}

void ReadCommands(CXmlConfig& document, const SettingsPlace& place, const ListTags& tags,
                  std::uint32_t count, DeleteEntry deleteEntry, QCList<KivCommandRecord>& list) {
  std::vector<std::size_t> bad;
  for (std::size_t position = 0; position < count; ++position) {
    KivCommandRecord record;
    ReadCommand(document, place, tags, position, record);
    if (IsSoundEntry(record)) {
      list.AddTail(std::move(record));
    } else {
      bad.push_back(position);
    }
  }
  DeleteFromTheEnd(document, place, tags, bad, deleteEntry);
}

// Cuts the history to its newest; answers how many there are then.
std::uint32_t TrimHistory(CXmlConfig& document, const SettingsPlace& place) {
  std::uint32_t count = CountEntries(document, place, kHistoryTags);
  if (count <= kMaxHistoryEntries) return count;
  for (; count > kMaxHistoryEntries; --count) DeleteByPath(document, place, kHistoryTags, 0);
  document.Save(kSaveFlag);
  return count;
}

// The container without entries; a container that is not there counts as deleted.
bool MakeContainer(CXmlConfig& document, const SettingsPlace& place, const ListTags& tags) {
  const std::uint32_t deleted =
      document.DeleteConfigNode(place.Element(tags.container), place.GroupPath());
  if (deleted != result::kOk && deleted != result::kGroupMissing) return false;
  const auto add = [&](std::int32_t createMissing) {
    return document.AddConfigNode(tags.container, place.DefaultElement(), place.instancePath,
                                  createMissing);
  };
  // A new instance has no settings element before its first value is written; its lists come first.
  std::uint32_t added = add(kParentMustExist);
  if (added == result::kGroupMissing) added = add(kCreateMissing);
  return added == result::kOk;
}

bool AddEntry(CXmlConfig& document, const SettingsPlace& place, const ListTags& tags) {
  return document.AddConfigNode(kEntryTag, place.Element(tags.container), place.GroupPath(),
                                kParentMustExist) == result::kOk;
}

void WriteEntryText(CXmlConfig& document, const SettingsPlace& place, const ListTags& tags,
                    std::size_t position, const wchar_t* attribute, const QCString& text) {
  document.WriteAttrValue(text, attribute, place.Element(tags.entry), place.EntryPath(position));
}

// An entry that cannot be added ends the list: the positions of those behind it would be wrong.
template <typename Commands>
void WriteCommands(CXmlConfig& document, const SettingsPlace& place, const ListTags& tags,
                   const Commands& commands) {
  std::size_t position = 0;
  for (const KivCommandRecord& record : commands) {
    if (!AddEntry(document, place, tags)) return;
    WriteEntryText(document, place, tags, position, kNameAttribute, record.name);
    WriteEntryText(document, place, tags, position, kParametersAttribute,
                   EscapedParameters(record.parameters));
    ++position;
  }
}

bool HasSoundSizes(const KivCommandRecord& record) {
  return record.name.GetLength() <= SvcKivSpace::kMaxCommandNameChars &&
         record.parameters.GetLength() <= SvcKivSpace::kMaxParameterChars;
}

}  // namespace

bool IsSoundEntry(const KivCommandRecord& record) {
  return !record.name.IsEmpty() && HasSoundSizes(record);
}

std::uint32_t CountEntries(const CXmlConfig& document, const SettingsPlace& place,
                           const ListTags& tags) {
  std::uint32_t count = 0;
  document.GetSubNodeCount(count, place.Element(tags.container), kEntryTag, place.GroupPath());
  return count;
}

bool IsSoundSlot(const KivCommandRecord& record) { return HasSoundSizes(record); }

void ReadHistoryList(CXmlConfig& document, const SettingsPlace& place, KivCommandLists& lists) {
  lists.history.RemoveAll();
  const std::uint32_t count = TrimHistory(document, place);
  ReadCommands(document, place, kHistoryTags, count, &DeleteByPath, lists.history);
}

void ReadFavouriteList(CXmlConfig& document, const SettingsPlace& place, KivCommandLists& lists) {
  lists.favourites.RemoveAll();
  const std::uint32_t count = CountEntries(document, place, kFavouriteTags);
  ReadCommands(document, place, kFavouriteTags, count, &DeleteByIndex, lists.favourites);
}

void ReadShortcutSlots(const CXmlConfig& document, const SettingsPlace& place,
                       KivCommandLists& lists) {
  std::size_t position = 0;
  for (KivCommandRecord& slot : lists.shortcuts) {
    KivCommandRecord record;
    const bool named = ReadCommand(document, place, kShortcutTags, position++, record);
    if (!named || !IsSoundSlot(record)) continue;
    slot.name = std::move(record.name);
    slot.parameters = std::move(record.parameters);
  }
}

void ReadIndList(CXmlConfig& document, const SettingsPlace& place, KivCommandLists& lists) {
  lists.supportedInds.RemoveAll();
  std::vector<std::size_t> bad;
  const std::uint32_t count = CountEntries(document, place, kIndTags);
  for (std::size_t position = 0; position < count; ++position) {
    KivSupportedInd ind;
    QCString id;
    const bool named = ReadEntryText(document, place, kIndTags, position, kNameAttribute, ind.name);
    const bool numbered = ReadEntryText(document, place, kIndTags, position, kIdAttribute, id);
    if (!named || !numbered) continue;  // stays in the file until the list is written
    if (ind.name.IsEmpty() || ind.name.GetLength() > SvcKivSpace::kMaxCommandNameChars) {
      bad.push_back(position);
      continue;
    }
    ind.id = SettingInteger(id.view());
    lists.supportedInds.AddTail(std::move(ind));
  }
  DeleteFromTheEnd(document, place, kIndTags, bad, &DeleteByPath);
}

void WriteHistoryList(CXmlConfig& document, const SettingsPlace& place,
                      const KivCommandLists& lists) {
  if (!MakeContainer(document, place, kHistoryTags)) return Trace(kNoHistoryContainer);
  WriteCommands(document, place, kHistoryTags, lists.history);
}

void WriteFavouriteList(CXmlConfig& document, const SettingsPlace& place,
                        const KivCommandLists& lists) {
  if (!MakeContainer(document, place, kFavouriteTags)) return Trace(kNoFavouritesContainer);
  WriteCommands(document, place, kFavouriteTags, lists.favourites);
}

void WriteShortcutSlots(CXmlConfig& document, const SettingsPlace& place,
                        const KivCommandLists& lists) {
  if (!MakeContainer(document, place, kShortcutTags)) {
    return CConsolePrinter::Print(kNoShortcutsContainer);
  }
  WriteCommands(document, place, kShortcutTags, lists.shortcuts);
}

void WriteIndList(CXmlConfig& document, const SettingsPlace& place, const KivCommandLists& lists) {
  if (!MakeContainer(document, place, kIndTags)) return CConsolePrinter::Print(kNoIndsContainer);
  std::size_t position = 0;
  for (const KivSupportedInd& ind : lists.supportedInds) {
    if (!AddEntry(document, place, kIndTags)) return CConsolePrinter::Print(kNoIndEntry);
    WriteEntryText(document, place, kIndTags, position, kNameAttribute, ind.name);
    WriteEntryText(document, place, kIndTags, position, kIdAttribute,
                   QCString(std::to_wstring(ind.id)));
    ++position;
  }
}

}  // namespace SvcKivClass
