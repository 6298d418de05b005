// Copying settings from one document to another, as import and export do: texts go over as they
// stand in the file, and an attribute that is missing there is not made here.
//
// Threads: the facade's. Errors: the status of the first write that failed.
#pragma once

#include <cstdint>
#include <optional>

#include "platform/xml/xml_config.h"
#include "settings/command_lists.h"
#include "settings/key_bindings.h"
#include "settings/settings_place.h"

namespace SvcKivClass {

// Which groups a transfer is about.
struct TransferGroups {
  bool keyboard = false;
  bool favourites = false;
  bool shortcuts = false;
};

// The settings of one instance in a document. Borrows the document.
struct SettingsSide {
  CXmlConfig& document;
  SettingsPlace place;

  // Whether there is an element of this tag below DEFAULT.
  bool Has(const wchar_t* tag) const;
};

// The text of a copied attribute; unset when the source has none.
using CopiedText = std::optional<QCString>;

// NAME and VALUE of one key; nodes that the target lacks are added.
std::uint32_t CopyBinding(const SettingsSide& from, const SettingsSide& to,
                          const KeyBindingRow& row, CopiedText& name, CopiedText& value);

// Appends the source's entries, at most `limit` of them, to the target's container, which has
// `firstPosition` already. `copied` gets what a reader makes of them.
std::uint32_t CopyEntries(const SettingsSide& from, const SettingsSide& to, const ListTags& tags,
                          std::uint32_t limit, std::size_t firstPosition,
                          QCList<SvcKivSpace::KivCommandRecord>& copied);

}  // namespace SvcKivClass
