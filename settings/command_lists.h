// The four lists of the document: history, favourites, shortcut commands, supported indications.
// Each is one container whose CMD children are told apart by position.
//
// Reading walks the container once from its start; entries that cannot be kept are deleted
// afterwards, from the highest position down, so that none is skipped. Writing makes the container
// anew. Both take time in proportion to the list.
//
// Threads: the facade's. Errors: a container that cannot be made leaves the list out of the
// document and says so in the debug log or on the console; memory is unchanged.
#pragma once

#include "platform/xml/xml_config.h"
#include "settings/settings_place.h"
#include "svckiv/svc_kiv_config.h"

namespace SvcKivClass {

inline constexpr wchar_t kEntryTag[] = L"CMD";
inline constexpr wchar_t kNameAttribute[] = L"NAME";
inline constexpr wchar_t kParametersAttribute[] = L"PARA";
inline constexpr std::uint32_t kMaxHistoryEntries = 100;  // after a read

// A list's container below DEFAULT, and its entries.
struct ListTags {
  const wchar_t* container;
  const wchar_t* entry;
};

inline constexpr ListTags kHistoryTags = {L"HISTORY_CMD", L"HISTORY_CMD.CMD"};
inline constexpr ListTags kFavouriteTags = {L"FAVORATE_CMD", L"FAVORATE_CMD.CMD"};
inline constexpr ListTags kShortcutTags = {L"SHORTCUTKEY_CMD", L"SHORTCUTKEY_CMD.CMD"};
inline constexpr ListTags kIndTags = {L"SUPPORT_IND", L"SUPPORT_IND.CMD"};

// Whether a list of commands keeps the entry: a name of 1 to 80 characters, parameters of at most
// 16,384.
bool IsSoundEntry(const SvcKivSpace::KivCommandRecord& record);
// Whether a shortcut slot does: its name may be empty.
bool IsSoundSlot(const SvcKivSpace::KivCommandRecord& record);

// How many entries the document's list has.
std::uint32_t CountEntries(const CXmlConfig& document, const SettingsPlace& place,
                           const ListTags& tags);

// First cuts the document's history to its newest 100 and saves it, when it is longer.
void ReadHistoryList(CXmlConfig& document, const SettingsPlace& place,
                     SvcKivSpace::KivCommandLists& lists);
void ReadFavouriteList(CXmlConfig& document, const SettingsPlace& place,
                       SvcKivSpace::KivCommandLists& lists);
void ReadShortcutSlots(const CXmlConfig& document, const SettingsPlace& place,
                       SvcKivSpace::KivCommandLists& lists);
void ReadIndList(CXmlConfig& document, const SettingsPlace& place,
                 SvcKivSpace::KivCommandLists& lists);

void WriteHistoryList(CXmlConfig& document, const SettingsPlace& place,
                      const SvcKivSpace::KivCommandLists& lists);
void WriteFavouriteList(CXmlConfig& document, const SettingsPlace& place,
                        const SvcKivSpace::KivCommandLists& lists);
void WriteShortcutSlots(CXmlConfig& document, const SettingsPlace& place,
                        const SvcKivSpace::KivCommandLists& lists);
void WriteIndList(CXmlConfig& document, const SettingsPlace& place,
                  const SvcKivSpace::KivCommandLists& lists);

}  // namespace SvcKivClass
