// SettingsBench: a settings object over a scratch configuration directory, with every operation on
// its documents noted and every notice heard.
//
// Threads: one test. Owns the directory, which it removes.
#ifndef TESTS_SETTINGS_SETTINGS_BENCH_H_
#define TESTS_SETTINGS_SETTINGS_BENCH_H_

#include <QMetaObject>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "service/message/live_switches.h"
#include "settings/svc_kiv_config_impl.h"
#include "svckiv/svc_kiv_config.h"
#include "svckiv/svc_kiv_message.h"
#include "tests/settings/recording_xml.h"
#include "tests/support/temp_dir.h"

namespace kivtest {

using Calls = std::vector<std::string>;

// A whole document with session 1, instance 1 and these groups under DEFAULT.
std::string Document(std::string_view groups);
// A whole document with this under the root.
std::string RootDocument(std::string_view content);
// "<CMD NAME=... PARA=.../>", texts as they stand in the document.
std::string Cmd(std::string_view name, std::string_view para);

// A folder in memory where the system has such a place: what is synced there costs nothing.
TempDir QuickTempDir();

class SettingsBench {
 public:
  // No document.
  SettingsBench();
  // With this as kiv.xml.
  explicit SettingsBench(std::string_view document);
  ~SettingsBench();
  SettingsBench(const SettingsBench&) = delete;
  SettingsBench& operator=(const SettingsBench&) = delete;

  // Makes the settings object (the previous one ends first); nothing is selected.
  void Open();
  // Open, then session and instance, then everything is loaded; the tape is empty afterwards.
  void Load(std::uint32_t sessionId = 1, std::uint32_t instanceId = 1);
  void Close();
  SvcKivClass::SvcKivConfigImpl& Config() { return *config_; }
  SvcKivSpace::KivSettings& Settings() { return config_->Settings(); }
  SvcKivSpace::KivKeyBindings& Keys() { return config_->KeyBindings(); }
  SvcKivSpace::KivCommandLists& Lists() { return config_->Lists(); }

  XmlTape& Tape() { return tape_; }
  SvcKivClass::LiveSwitches& Switches() { return switches_; }
  // Texts of the notices (kind 0) since the last call. Another kind is noted as "kind N".
  std::vector<std::wstring> TakeNotices();

  const TempDir& Folder() const { return folder_; }
  // kiv.xml as it is on the disk.
  std::string File() const { return folder_.Read("kiv.xml"); }
  // Where relative paths begin.
  std::wstring DataPath() const { return folder_.WideFile("data"); }
  // One attribute of kiv.xml on the disk, "<none>" when it is not there. `element` is under
  // DEFAULT of instance 1 of session 1 unless it begins with "SourceData".
  std::wstring OnDisk(const std::wstring& element, const std::wstring& attribute,
                      const std::wstring& position = L"0.0.0.0") const;
  // How many of them are there.
  std::uint32_t CountOnDisk(const std::wstring& parent, const std::wstring& tag,
                            const std::wstring& position = L"0.0.0.0") const;

 private:
  TempDir folder_ = QuickTempDir();
  SvcKivClass::LiveSwitches switches_;
  SvcKivSpace::SvcKivMessage sender_;
  QMetaObject::Connection connection_;
  std::vector<std::wstring> notices_;
  XmlTape tape_;
  std::unique_ptr<SvcKivClass::SvcKivConfigImpl> config_;
};

}  // namespace kivtest

#endif  // TESTS_SETTINGS_SETTINGS_BENCH_H_
