#include "settings/svc_kiv_config_impl.h"

#include <algorithm>
#include <limits>
#include <set>
#include <utility>

#include "platform/base/app_prefs.h"
#include "platform/base/result_codes.h"
#include "settings/command_lists.h"
#include "settings/own_settings_file.h"
#include "settings/setting_groups.h"
#include "settings/setting_number.h"
#include "settings/settings_export.h"
#include "settings/settings_import.h"
#include "settings/starting_document.h"
#include "settings/stored_spelling.h"

namespace SvcKivClass {
namespace {

using SvcKivSpace::KivCommandRecord;
using xml_config::OpenAs;

constexpr wchar_t kPreferencesKey[] = L"kiv";
constexpr std::uint32_t kPreferencesVersion = 0;
constexpr std::uint32_t kLargestId = std::numeric_limits<std::uint32_t>::max();

std::unique_ptr<CXmlConfig> OpenDocument(const QCString& path, xml_config::Options options) {
  return std::make_unique<CXmlConfig>(path, std::move(options));
}

// The lowest id that none has.
std::uint32_t LowestFree(const std::set<std::uint32_t>& ids) {
  std::uint32_t free = 1;
  while (ids.contains(free)) ++free;
  return free;
}

}  // namespace

SvcKivConfigImpl::SvcKivConfigImpl(SvcKivConfigParts parts)
    : sender_(parts.sender),
      openXml_(parts.openXml ? std::move(parts.openXml) : &OpenDocument),
      path_(GetAppPrefs().GetConfigFileByVersion(kPreferencesKey, kPreferencesVersion)),
      memory_{parts.switches} {
  xml_config::Options options;
  options.openAs = OpenAs::kOwn;
  options.startingText = StartingDocument();
  options.rootTag = kRootTag;
  options.mergeRules = SettingsMergeRules();
  options.unsetValues = UnsetSettingValues();
  options.storedAs = SettingsStoredAs();
  document_ = openXml_(path_, std::move(options));
  TellNotice();
}

SvcKivConfigImpl::~SvcKivConfigImpl() { Save(); }

void SvcKivConfigImpl::TellNotice() {
  if (document_ == nullptr) return;
  const QCString notice = document_->TakeNotice();
  if (!notice.IsEmpty()) SendNotice(sender_, notice.ToUtf8().c_str());
}

bool SvcKivConfigImpl::HasDocument() const { return document_ != nullptr && document_->IsOpen(); }

template <typename Operation>
std::uint32_t SvcKivConfigImpl::WithDocument(const Operation& operation) {
  if (!HasDocument()) return result::kNoDocument;
  operation();
  return result::kOk;
}

std::uint32_t SvcKivConfigImpl::SetSessionAndInstance(std::uint32_t sessionId,
                                                      std::uint32_t instanceId) {
  sessionId_ = sessionId;
  instanceId_ = instanceId;
  return SelectSession();
}

std::uint32_t SvcKivConfigImpl::NextInstanceId() {
  std::uint32_t count = 0;
  if (HasDocument() && !sessionPath_.IsEmpty()) {
    document_->GetSubNodeCount(count, kSessionTagPath, kInstanceTag, sessionPath_);
  }
  std::set<std::uint32_t> ids;
  for (std::uint32_t i = 0; i < count; ++i) {
    QCString id;
    document_->ReadAttrValue(id, kIdAttribute, kInstanceTagPath, ChildPath(sessionPath_, i));
    ids.insert(SettingUnsigned(id.view()));
  }
  const std::uint32_t largest = ids.empty() ? 0 : *ids.rbegin();
  return largest == kLargestId ? LowestFree(ids) : largest + 1;
}

std::uint32_t SvcKivConfigImpl::SelectSession() {
  if (!HasDocument()) return result::kNoDocument;
  QCString path = kRootPath;
  if (document_->FindAttrValByTagPath(kIdAttribute, IdText(sessionId_), kSessionTagPath, path,
                                      nullptr) != result::kOk) {
    return AddSession();
  }
  sessionPath_ = path;
  return result::kOk;
}

std::uint32_t SvcKivConfigImpl::AddSession() {
  std::uint32_t status =
      document_->AddConfigNode(kSessionTag, kRootTag, kRootPath, kParentMustExist);
  if (status != result::kOk) return status;
  std::uint32_t count = 0;
  status = document_->GetSubNodeCount(count, kRootTag, kSessionTag, kRootPath);
  if (status != result::kOk || count == 0) return status;
  const QCString path = ChildPath(kRootPath, count - 1);
  status = document_->WriteAttrValue(IdText(sessionId_), kIdAttribute, kSessionTagPath, path);
  sessionPath_ = path;
  const std::uint32_t saved = Save();
  return status != result::kOk ? status : saved;
}

bool SvcKivConfigImpl::SelectInstance() {
  QCString path = sessionPath_ + L".0";
  if (document_->FindAttrValByTagPath(kIdAttribute, IdText(instanceId_), kInstanceTagPath, path,
                                      nullptr) != result::kOk) {
    return false;
  }
  place_ = {kSettingsPrefix, path + L".0"};
  return true;
}

std::uint32_t SvcKivConfigImpl::LoadEverything() {
  if (!HasDocument()) return result::kNoDocument;
  memory_.settings.autoIntellisense = 1;
  const bool found = SelectInstance();
  ReadHistory();
  ReadFavourites();
  ReadPopular();
  ReadColours();
  ReadSave();
  ReadAutoIntellisense();
  ReadClearScreen();
  ReadKeyboard();
  ReadShortcuts();
  ReadSupportedInds();
  return found ? result::kOk : result::kInstanceMissing;
}

std::uint32_t SvcKivConfigImpl::AddInstance() {
  std::uint32_t count = 0;
  document_->GetSubNodeCount(count, kSessionTagPath, kInstanceTag, sessionPath_);
  return WriteAddingNode(*document_, IdText(instanceId_), kIdAttribute, kInstanceTagPath,
                         ChildPath(sessionPath_, count));
}

std::uint32_t SvcKivConfigImpl::CompleteSettings() {
  if (!HasDocument()) return result::kNoDocument;
  if (sessionPath_.IsEmpty()) return result::kInstanceMissing;
  bool isChanged = false;
  if (!SelectInstance()) {
    const std::uint32_t added = AddInstance();
    if (added != result::kOk) return added;
    if (!SelectInstance()) return result::kInstanceMissing;
    isChanged = true;
  }
  isChanged = AddMissingSettings(*document_, place_) || isChanged;
  if (!isChanged) return result::kOk;
  LoadEverything();
  return Save();
}

std::uint32_t SvcKivConfigImpl::StoreEverything(const KivCommandRecord* newEntry) {
  if (!HasDocument()) return result::kNoDocument;
  if (newEntry != nullptr && !newEntry->name.IsEmpty() &&
      newEntry->name.GetLength() <= SvcKivSpace::kMaxCommandNameChars) {
    memory_.lists.history.AddTail(*newEntry);
  }
  WriteHistory();
  WriteFavourites();
  WritePopular();
  WriteColours();
  WriteSave();
  WriteKeyboard();
  WriteAutoIntellisense();
  WriteClearScreen();
  WriteShortcuts();
  WriteSupportedInds();
  return result::kOk;
}

std::uint32_t SvcKivConfigImpl::Save() {
  if (!HasDocument()) return result::kNoDocument;
  const std::uint32_t status = document_->Save(kSaveFlag);
  TellNotice();
  return status;
}

std::uint32_t SvcKivConfigImpl::ReadRows(std::span<const SettingRow> rows) {
  return WithDocument([&] { ReadSettingRows(*document_, place_, rows, memory_); });
}

std::uint32_t SvcKivConfigImpl::WriteRows(std::span<const SettingRow> rows) {
  return WithDocument([&] { WriteSettingRows(*document_, place_, rows, memory_); });
}

std::uint32_t SvcKivConfigImpl::ReadPopular() { return ReadRows(PopularRows()); }
std::uint32_t SvcKivConfigImpl::ReadColours() { return ReadRows(ColourRows()); }
std::uint32_t SvcKivConfigImpl::ReadSave() { return ReadRows(SaveRows()); }
std::uint32_t SvcKivConfigImpl::ReadKeyboard() { return ReadRows(KeyboardRows()); }
std::uint32_t SvcKivConfigImpl::ReadAutoIntellisense() { return ReadRows(AutoIntellisenseRows()); }
std::uint32_t SvcKivConfigImpl::ReadClearScreen() { return ReadRows(ClearScreenRows()); }
std::uint32_t SvcKivConfigImpl::WritePopular() { return WriteRows(PopularRows()); }
std::uint32_t SvcKivConfigImpl::WriteColours() { return WriteRows(ColourRows()); }
std::uint32_t SvcKivConfigImpl::WriteSave() { return WriteRows(SaveRows()); }
std::uint32_t SvcKivConfigImpl::WriteKeyboard() { return WriteRows(KeyboardRows()); }
std::uint32_t SvcKivConfigImpl::WriteAutoIntellisense() {
  return WriteRows(AutoIntellisenseRows());
}
std::uint32_t SvcKivConfigImpl::WriteClearScreen() { return WriteRows(ClearScreenRows()); }

std::uint32_t SvcKivConfigImpl::ReadHistory() {
  return WithDocument([this] { ReadHistoryList(*document_, place_, memory_.lists); });
}

std::uint32_t SvcKivConfigImpl::ReadFavourites() {
  return WithDocument([this] { ReadFavouriteList(*document_, place_, memory_.lists); });
}

std::uint32_t SvcKivConfigImpl::ReadShortcuts() {
  return WithDocument([this] { ReadShortcutSlots(*document_, place_, memory_.lists); });
}

std::uint32_t SvcKivConfigImpl::ReadSupportedInds() {
  return WithDocument([this] { ReadIndList(*document_, place_, memory_.lists); });
}

std::uint32_t SvcKivConfigImpl::WriteHistory() {
  return WithDocument([this] { WriteHistoryList(*document_, place_, memory_.lists); });
}

std::uint32_t SvcKivConfigImpl::WriteFavourites() {
  return WithDocument([this] { WriteFavouriteList(*document_, place_, memory_.lists); });
}

std::uint32_t SvcKivConfigImpl::WriteShortcuts() {
  return WithDocument([this] { WriteShortcutSlots(*document_, place_, memory_.lists); });
}

std::uint32_t SvcKivConfigImpl::WriteSupportedInds() {
  return WithDocument([this] { WriteIndList(*document_, place_, memory_.lists); });
}

std::uint32_t SvcKivConfigImpl::WriteAttribute(const wchar_t* value, const wchar_t* attribute,
                                               const wchar_t* element,
                                               const wchar_t* instancePath) {
  if (!HasDocument()) return result::kNoDocument;
  return WriteAddingNode(*document_, value, attribute, element, instancePath);
}

std::uint32_t SvcKivConfigImpl::ReadAttribute(QCString& value, const wchar_t* attribute,
                                              const wchar_t* element, const wchar_t* instancePath) {
  if (!HasDocument()) return result::kNoDocument;
  return document_->ReadAttrValue(value, attribute, element, instancePath);
}

std::uint32_t SvcKivConfigImpl::NvLoadFileMaxSizeBytes() {
  QCString text;
  if (HasDocument()) {
    document_->ReadAttrValue(text, kNvLoadFileMaxSizeAttribute, place_.Element(kPopularElement),
                             place_.GroupPath());
  }
  return static_cast<std::uint32_t>(std::max(SettingInteger(text.view()), 0));
}

std::unique_ptr<CXmlConfig> SvcKivConfigImpl::OpenOther(const QCString& path, OpenAs openAs) const {
  xml_config::Options options;
  options.openAs = openAs;
  options.rootTag = kRootTag;
  return openXml_(path, std::move(options));
}

SettingsPlace SvcKivConfigImpl::FirstInstance() const {
  return {kSettingsPrefix, sessionPath_ + L".0.0"};
}

std::uint32_t SvcKivConfigImpl::Import(const wchar_t* path, bool keyboard, bool favourites,
                                       bool shortcuts) {
  const std::unique_ptr<CXmlConfig> other = OpenOther(path, OpenAs::kExisting);
  if (other == nullptr || !other->IsOpen()) return result::kInstanceMissing;
  SettingsPlace otherPlace;
  const std::uint32_t status = FindSettings(*other, sessionId_, instanceId_, otherPlace);
  if (status != result::kOk) return status;
  if (!HasDocument()) return result::kNoDocument;
  const SettingsPlace first = FirstInstance();
  const bool isMade = place_.prefix.IsEmpty() && !HasFirstInstance();
  SettingsImport import({*other, otherPlace}, {*document_, first},
                        place_ == first || isMade ? &memory_ : nullptr, sender_);
  const std::uint32_t imported = import.Run({keyboard, favourites, shortcuts});
  if (NumberFirstInstance() && place_.prefix.IsEmpty()) {
    // Without a place nothing that is stored from now on would be kept. What an instance had that
    // only lacked its ID would else be lost with the next store.
    SelectInstance();
    if (!isMade) LoadEverything();
  }
  return imported;
}

bool SvcKivConfigImpl::HasFirstInstance() const {
  return document_->GetNode(kInstanceTagPath, ChildPath(sessionPath_, 0)) == result::kOk;
}

// In a session that has no instance an import makes one, which only its ID lets anybody find: that
// of the current instance, which is the one that the groups were taken from.
bool SvcKivConfigImpl::NumberFirstInstance() {
  if (sessionPath_.IsEmpty() || place_.instancePath.StartsWith((sessionPath_ + L".").view())) {
    return false;
  }
  const QCString first = ChildPath(sessionPath_, 0);
  QCString found = first;
  if (document_->ReadAttrValue(found, kIdAttribute, kInstanceTagPath, first) !=
          xml_config::kAttributeMissing ||
      document_->FindAttrValByTagPath(kIdAttribute, IdText(instanceId_), kInstanceTagPath, found,
                                      nullptr) == result::kOk) {
    return false;
  }
  return document_->WriteAttrValue(IdText(instanceId_), kIdAttribute, kInstanceTagPath, first) ==
         result::kOk;
}

std::uint32_t SvcKivConfigImpl::Export(const wchar_t* path, bool keyboard, bool favourites,
                                       bool shortcuts) {
  if (!HasDocument()) return result::kNoDocument;
  // The own file would lose everything but the exported groups, and its copy what it is kept for.
  if (IsOwnSettingsFile(path, path_)) return result::kSaveFailed;
  const std::unique_ptr<CXmlConfig> target = OpenOther(path, OpenAs::kNew);
  if (target == nullptr || !target->IsOpen()) return result::kSaveFailed;
  SettingsPlace place;
  const std::uint32_t status = FindSettings(*document_, sessionId_, instanceId_, place);
  if (status != result::kOk) return status;
  return ExportSettings({*document_, place}, sessionId_, instanceId_,
                        {keyboard, favourites, shortcuts}, *target);
}

}  // namespace SvcKivClass
