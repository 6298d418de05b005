#include "settings/settings_import.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "platform/base/result_codes.h"
#include "platform/text/qt_text.h"
#include "settings/setting_number.h"
#include "settings/settings_texts.h"

namespace SvcKivClass {
namespace {

using SvcKivSpace::KivCommandRecord;

// The keys that a user may move; the other two are fixed.
constexpr std::array kMovableKeys = {kRepeat, kListHistory, kListRecent};
constexpr wchar_t kSendKeyName[] = L"ENTER";
constexpr wchar_t kCancelKeyName[] = L"ESC";
constexpr std::uint32_t kAllEntries = std::numeric_limits<std::uint32_t>::max();

std::uint32_t AddContainer(const SettingsSide& side, const ListTags& tags) {
  return side.document.AddConfigNode(tags.container, side.place.DefaultElement(),
                                     side.place.instancePath, kCreateMissing);
}

// What the next load would make of the entries.
void AppendSound(const QCList<KivCommandRecord>& entries, QCList<KivCommandRecord>& list) {
  for (const KivCommandRecord& record : entries) {
    if (IsSoundEntry(record)) list.AddTail(record);
  }
}

void FillSlots(const QCList<KivCommandRecord>& entries, SvcKivSpace::KivCommandLists& lists) {
  lists.shortcuts.fill({});
  for (std::size_t i = 0; i < entries.GetCount(); ++i) {
    if (IsSoundSlot(entries[i])) lists.shortcuts[i] = entries[i];
  }
}

}  // namespace

void SendNotice(SvcKivSpace::SvcKivMessage& sender, const char* text) {
  QCString translated = Translated(text);
  sender.SVCSendMessage(SvcKivSpace::kNotice, &translated);
}

std::uint32_t SettingsImport::Run(const TransferGroups& groups) {
  std::uint32_t status = result::kOk;
  if (groups.keyboard) status = ImportKeyboard();
  if (status == result::kOk && groups.favourites) status = ImportFavourites();
  if (status == result::kOk && groups.shortcuts) status = ImportShortcuts();
  return status;
}

std::uint32_t SettingsImport::ImportKeyboard() {
  if (!other_.Has(kKeyboardElement)) return Refuse(kNoKeysInFile, result::kGroupMissing);
  if (HasNamesInConflict()) return Refuse(kKeysConflict, result::kBadKeys);
  for (const std::size_t binding : kMovableKeys) {
    const std::uint32_t status = ImportBinding(binding);
    if (status != result::kOk) return status;
  }
  // An import never rebinds Enter or Esc.
  if (!HasFixedKeys()) return Refuse(kInvalidKeys, result::kBadKeys);
  const std::uint32_t status = ImportBinding(kSend);
  return status != result::kOk ? status : ImportBinding(kCancel);
}

QCString SettingsImport::NameOf(std::size_t binding) const {
  QCString name;
  other_.document.ReadAttrValue(name, kNameAttribute,
                                other_.place.Element(kKeyBindings[binding].element),
                                other_.place.GroupPath());
  return name;
}

// Names that are missing or empty are equal, too.
bool SettingsImport::HasNamesInConflict() const {
  std::array<QCString, kMovableKeys.size()> names;
  std::transform(kMovableKeys.begin(), kMovableKeys.end(), names.begin(),
                 [this](std::size_t binding) { return NameOf(binding).TrimWhiteSpace(); });
  return names[0] == names[1] || names[0] == names[2] || names[1] == names[2];
}

bool SettingsImport::HasFixedKeys() const {
  const QCString send = NameOf(kSend);
  const QCString cancel = NameOf(kCancel);
  return send == kSendKeyName && cancel == kCancelKeyName;
}

std::uint32_t SettingsImport::ImportBinding(std::size_t binding) {
  CopiedText name;
  CopiedText value;
  const std::uint32_t status = CopyBinding(other_, own_, kKeyBindings[binding], name, value);
  if (memory_ == nullptr) return status;
  SvcKivSpace::KivKeyBinding& held = memory_->keys.*kKeyBindings[binding].binding;
  if (name) held.name = *std::move(name);
  if (value) held.value = SettingInteger(value->view());
  return status;
}

std::uint32_t SettingsImport::ImportFavourites() {
  if (!other_.Has(kFavouriteTags.container)) {
    return Refuse(kNoFavouritesInFile, result::kGroupMissing);
  }
  if (!own_.Has(kFavouriteTags.container)) {
    const std::uint32_t status = AddContainer(own_, kFavouriteTags);
    if (status != result::kOk) return status;
  }
  QCList<KivCommandRecord> copied;
  const std::uint32_t ownCount = CountEntries(own_.document, own_.place, kFavouriteTags);
  const std::uint32_t status =
      CopyEntries(other_, own_, kFavouriteTags, kAllEntries, ownCount, copied);
  if (memory_ != nullptr) AppendSound(copied, memory_->lists.favourites);
  return status;
}

std::uint32_t SettingsImport::ImportShortcuts() {
  if (!other_.Has(kShortcutTags.container)) {
    return Refuse(kNoShortcutsInFile, result::kGroupMissing);
  }
  const std::uint32_t deleted = own_.document.DeleteConfigNode(
      own_.place.Element(kShortcutTags.container), own_.place.GroupPath());
  if (deleted != result::kOk && deleted != result::kGroupMissing) return deleted;
  const std::uint32_t added = AddContainer(own_, kShortcutTags);
  if (added != result::kOk) return added;
  QCList<KivCommandRecord> copied;
  const std::uint32_t status =
      CopyEntries(other_, own_, kShortcutTags, SvcKivSpace::kShortcutCommands, 0, copied);
  if (memory_ != nullptr) FillSlots(copied, memory_->lists);
  return status;
}

std::uint32_t SettingsImport::Refuse(const char* text, std::uint32_t status) {
  SendNotice(sender_, text);
  return status;
}

}  // namespace SvcKivClass
