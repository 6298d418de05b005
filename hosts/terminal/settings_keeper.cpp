#include "hosts/terminal/settings_keeper.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <optional>
#include <utility>

#include "hosts/terminal/typed_record.h"
#include "platform/base/app_prefs.h"
#include "platform/base/result_codes.h"
#include "platform/text/file_path.h"

namespace kiv {
namespace {

using SvcKivSpace::CSVCKIVConfig;
using SvcKivSpace::KivCommandRecord;

constexpr std::size_t kKeptLines = 100;  // the next load of the settings trims to as many
constexpr int kAlwaysMs = 86'400'000;    // from one command to the next, whatever the user does
constexpr wchar_t kSavePathAttribute[] = L"SAVE_PATH";

constexpr wchar_t kLogSuffix[] = L".txt";

QCString SaveElement(const CSVCKIVConfig& config) { return config.SettingsPrefix() + L"SAVE"; }

QCString SaveElementPath(const CSVCKIVConfig& config) {
  return config.SettingsInstancePath() + L".0";
}

// An attribute as the document has it; empty when it has none.
std::wstring Stored(CSVCKIVConfig& config, const wchar_t* element, const wchar_t* attribute) {
  QCString text;
  config.ReadAttribute(text, attribute, (config.SettingsPrefix() + element).c_str(),
                       (config.SettingsInstancePath() + L".0").c_str());
  return text.str();
}

QCString Absolute(const QCString& stored) {
  return GetAppPrefs().RelativeFile2AbsoluteFile(stored, CFilePath::GetAppPath());
}

// The first of what the value begins with, as the module reads numbers; unset without digits.
std::optional<std::int64_t> StoredNumber(CSVCKIVConfig& config, const wchar_t* attribute) {
  const std::wstring text = Stored(config, kOwnElement, attribute);
  wchar_t* end = nullptr;
  const long long value = std::wcstoll(text.c_str(), &end, 10);
  if (end == text.c_str()) return {};
  return std::clamp<long long>(value, std::numeric_limits<std::int32_t>::min(),
                               std::numeric_limits<std::int32_t>::max());
}

// The module works it out in the same way, but its record cuts what comes of it.
QCString LogPath(const QCString& stored) {
  if (stored.IsEmpty()) return GetAppPrefs().GetDirectory() + L"\\kiv" + kLogSuffix;
  const QCString path = Absolute(stored);
  return path.EndsWith(kLogSuffix) ? path : path + kLogSuffix;
}

bool Fits(const QCString& path) { return path.GetLength() < SvcKivSpace::kSavePathBufferChars; }

// Without a document there is nothing to lose; the user has been told.
bool IsSaved(std::uint32_t status) {
  return status == result::kOk || status == result::kNoDocument;
}

}  // namespace

SettingsKeeper::SettingsKeeper(CSVCKIVConfig& config, bool saveEachLine)
    : config_(config), saveEachLine_(saveEachLine) {
  // A setting that is missing would count as 0: no history, no indications, and not a word of it.
  config_.CompleteCurrentInstance();
  HoldWholeSavePath();
}

void SettingsKeeper::HoldWholeSavePath() {
  longSavePath_.Empty();
  QCString stored;
  if (config_.ReadAttribute(stored, kSavePathAttribute, SaveElement(config_).c_str(),
                            SaveElementPath(config_).c_str()) != result::kOk ||
      stored.IsEmpty()) {
    return;
  }
  QCString path = Absolute(stored);
  if (!Fits(path)) path = stored;
  if (!Fits(path)) {
    longSavePath_ = stored;
    return;
  }
  wchar_t* const end = std::copy(path.str().begin(), path.str().end(), config_.Settings().savePath);
  *end = L'\0';
}

ConsoleSettings SettingsKeeper::Values() const {
  ConsoleSettings values;
  values.areThere = AreThere();
  if (!values.areThere) return values;
  values.values = config_.Settings();
  values.keys = config_.KeyBindings();
  values.oneLineArrays = config_.OneLineArrays();
  values.showType = config_.ShowType();
  values.indicationsEnabled = config_.IndicationsEnabled();
  values.storedSavePath = Stored(config_, L"SAVE", kSavePathAttribute);
  values.storedPluginPath = Stored(config_, L"PLUGIN", L"NAME");
  values.logPath = LogPath(QCString(values.storedSavePath)).str();
  values.hexadecimal = static_cast<std::int32_t>(
      StoredNumber(config_, kHexadecimalAttribute).value_or(values.hexadecimal));
  values.instantIndMs = static_cast<std::uint32_t>(std::max<std::int64_t>(
      StoredNumber(config_, kInstantIndTimeAttribute).value_or(values.instantIndMs), 0));
  return values;
}

void SettingsKeeper::WriteGroup(const SettingGroup& group) {
  if (group.write == nullptr) return;
  (config_.*group.write)();
  WriteLongSavePath();
}

void SettingsKeeper::ReadGroup(const SettingGroup& group) {
  if (group.read == nullptr) return;
  config_.Settings().pluginPath.Empty();  // the reader leaves it where the document has none
  (config_.*group.read)();
  HoldWholeSavePath();
}

// Memory goes into the document first: reading the group takes from there what nobody wrote yet.
SettingsKeeper::SetOutcome SettingsKeeper::Set(const SettingGroup& group,
                                               std::span<const Change> changes) {
  if (!AreThere()) return SetOutcome::kNoSettings;
  WriteGroup(group);
  std::uint32_t written = result::kOk;
  for (const Change& change : changes) {
    if (written != result::kOk) break;
    written = config_.WriteAttribute(change.text.c_str(), change.row->attribute,
                                     (config_.SettingsPrefix() + change.row->element).c_str(),
                                     (config_.SettingsInstancePath() + L".0").c_str());
  }
  const std::uint32_t saved = config_.Save();
  ReadGroup(group);
  if (written != result::kOk) return SetOutcome::kNotWritten;
  return saved == result::kOk ? SetOutcome::kSaved : SetOutcome::kNotSaved;
}

bool SettingsKeeper::AreThere() const { return !config_.SettingsPrefix().IsEmpty(); }

int SettingsKeeper::InstantIndMs() const {
  if (!AreThere()) return kAlwaysMs;
  if (config_.Settings().enableInstantIndCmd == 0) return 0;
  return static_cast<int>(Values().instantIndMs);
}

std::wstring SettingsKeeper::LastLine() const {
  if (!lastLine_.empty()) return lastLine_;
  const std::vector<std::wstring> lines = Lines();
  return lines.empty() ? std::wstring() : lines.back();
}

bool SettingsKeeper::Keep(std::wstring_view line) {
  if (line.find_first_not_of(L' ') != std::wstring_view::npos) lastLine_ = line;
  if (config_.Settings().historyOn == 0) return true;
  KivCommandRecord record = RecordOf(line);
  if (!CanBeKept(record)) return true;
  if (config_.Settings().storeCmdPara == 0) record.parameters.Empty();
  if (saveEachLine_) return Store(&record);
  if (waiting_.size() == kKeptLines) waiting_.pop_front();
  waiting_.push_back(std::move(record));
  return true;
}

bool SettingsKeeper::Store(const KivCommandRecord* newest) {
  config_.StoreEverything(newest);
  WriteLongSavePath();
  return IsSaved(config_.Save());
}

void SettingsKeeper::WriteLongSavePath() {
  if (longSavePath_.IsEmpty()) return;
  config_.WriteAttribute(longSavePath_.c_str(), kSavePathAttribute, SaveElement(config_).c_str(),
                         SaveElementPath(config_).c_str());
}

bool SettingsKeeper::SaveAll() {
  if (waiting_.empty()) return IsSaved(config_.Save());
  const KivCommandRecord newest = std::move(waiting_.back());
  waiting_.pop_back();
  for (KivCommandRecord& record : waiting_) config_.Lists().history.AddTail(std::move(record));
  waiting_.clear();
  return Store(&newest);
}

std::vector<std::wstring> SettingsKeeper::Lines() const {
  std::vector<std::wstring> lines;
  for (const KivCommandRecord& record : config_.Lists().history) lines.push_back(LineOf(record));
  for (const KivCommandRecord& record : waiting_) lines.push_back(LineOf(record));
  return lines;
}

}  // namespace kiv
