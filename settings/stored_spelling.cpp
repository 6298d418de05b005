#include "settings/stored_spelling.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "settings/command_lists.h"
#include "settings/parameter_escape.h"
#include "settings/save_path.h"
#include "settings/setting_number.h"
#include "settings/setting_rows.h"
#include "settings/settings_place.h"

namespace SvcKivClass {
namespace {

using SvcKivSpace::KivCommandRecord;
using xml_config::EntryTexts;
using Taken = std::optional<EntryTexts>;

std::string Utf8(const wchar_t* name) { return QCString(name).ToUtf8(); }

const std::string kName = Utf8(kNameAttribute);
const std::string kParameters = Utf8(kParametersAttribute);
const std::string kId = Utf8(kIdAttribute);

const SettingRow* FindRow(const QCString& element, const QCString& attribute) {
  for (const auto rows : AllSettingRows()) {
    for (const SettingRow& row : rows) {
      if (element == row.element && attribute == row.attribute) return &row;
    }
  }
  return nullptr;
}

std::vector<QCString> StoredAttribute(const QCString& tagPath, const QCString& attribute,
                                      const QCString& text) {
  if (!tagPath.StartsWith(kSettingsPrefix)) return {text};
  const QCString element = tagPath.Mid(QCString(kSettingsPrefix).GetLength());
  const SettingRow* row = FindRow(element, attribute);
  if (row == nullptr) return {text};
  if (row->field.form == SettingForm::kPath) return StoredSavePaths(text.view());
  LiveSwitches switches;
  SettingsMemory memory{switches};
  row->field.take(memory, text.view());
  return {row->field.text(memory)};
}

QCString TextOr(const EntryTexts& texts, const std::string& name) {
  const auto at = texts.find(name);
  return at != texts.end() ? at->second : QCString();
}

KivCommandRecord CommandOf(const EntryTexts& texts) {
  KivCommandRecord record;
  record.name = TextOr(texts, kName);
  record.parameters = UnescapedParameters(TextOr(texts, kParameters));
  return record;
}

EntryTexts TextsOf(const KivCommandRecord& record) {
  return {{kName, record.name}, {kParameters, EscapedParameters(record.parameters)}};
}

Taken StoredCommand(const EntryTexts& texts) {
  const KivCommandRecord record = CommandOf(texts);
  return IsSoundEntry(record) ? Taken(TextsOf(record)) : std::nullopt;
}

// A slot that is not taken is stored as an empty one.
Taken StoredSlot(std::size_t position, const EntryTexts& texts) {
  if (position >= SvcKivSpace::kShortcutCommands) return std::nullopt;
  const KivCommandRecord record = CommandOf(texts);
  return texts.contains(kName) && IsSoundSlot(record) ? TextsOf(record) : EntryTexts();
}

Taken StoredInd(const EntryTexts& texts) {
  if (!texts.contains(kName) || !texts.contains(kId)) return std::nullopt;
  const QCString name = TextOr(texts, kName);
  if (name.IsEmpty() || name.GetLength() > SvcKivSpace::kMaxCommandNameChars) return std::nullopt;
  const std::int32_t id = SettingInteger(TextOr(texts, kId).view());
  return EntryTexts{{kName, name}, {kId, QCString(std::to_wstring(id))}};
}

Taken StoredEntry(const QCString& tagPath, std::size_t position, const EntryTexts& texts) {
  if (!tagPath.StartsWith(kSettingsPrefix)) return texts;
  const QCString entry = tagPath.Mid(QCString(kSettingsPrefix).GetLength());
  if (entry == kShortcutTags.entry) return StoredSlot(position, texts);
  if (entry == kIndTags.entry) return StoredInd(texts);
  if (entry == kHistoryTags.entry || entry == kFavouriteTags.entry) return StoredCommand(texts);
  return std::nullopt;  // no console reads another tag there
}

}  // namespace

xml_config::StoredAs SettingsStoredAs() { return {&StoredAttribute, &StoredEntry}; }

}  // namespace SvcKivClass
