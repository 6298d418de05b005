// SvcKivConfigImpl: the settings behind the exported interface, kept in one XML document.
//
// Constructed with the document open on the file that the preferences name for the key "kiv",
// version 0. The host (or SvcKivApp::Start) then sets session and instance and loads.
//
// What a setting is called in the document stands in one table (setting_rows.h); readers, writers
// and docs/settings.md walk it. The order of reads and writes is kept: hosts and scripts that watch
// the document compare it.
//
// Threads: the facade's. Borrows switches and sender, which outlive it. Owns the document; its end
// saves and closes it. Errors: see CSVCKIVConfig.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>

#include "platform/xml/xml_config.h"
#include "service/message/live_switches.h"
#include "settings/setting_rows.h"
#include "settings/settings_copy.h"
#include "settings/settings_memory.h"
#include "settings/settings_place.h"
#include "svckiv/svc_kiv_config.h"
#include "svckiv/svc_kiv_message.h"

namespace SvcKivClass {

// What the settings object stands on.
struct SvcKivConfigParts {
  LiveSwitches& switches;
  SvcKivSpace::SvcKivMessage& sender;
  XmlConfigFactory openXml = {};  // empty: CXmlConfig itself
};

// The settings object; see the head of this file.
class SvcKivConfigImpl final : public SvcKivSpace::CSVCKIVConfig {
 public:
  // Tells the view what the document has to say about its opening.
  explicit SvcKivConfigImpl(SvcKivConfigParts parts);
  ~SvcKivConfigImpl() override;
  SvcKivConfigImpl(const SvcKivConfigImpl&) = delete;
  SvcKivConfigImpl& operator=(const SvcKivConfigImpl&) = delete;

  std::uint32_t SetSessionAndInstance(std::uint32_t sessionId, std::uint32_t instanceId) override;
  std::uint32_t NextInstanceId() override;
  std::uint32_t SelectSession() override;
  std::uint32_t Import(const wchar_t* path, bool keyboard, bool favourites,
                       bool shortcuts) override;
  std::uint32_t Export(const wchar_t* path, bool keyboard, bool favourites,
                       bool shortcuts) override;
  std::uint32_t StoreEverything(const SvcKivSpace::KivCommandRecord* newEntry) override;
  std::uint32_t Save() override;
  std::uint32_t LoadEverything() override;

  std::uint32_t ReadHistory() override;
  std::uint32_t ReadFavourites() override;
  std::uint32_t WriteHistory() override;
  std::uint32_t WriteFavourites() override;
  std::uint32_t ReadShortcuts() override;
  std::uint32_t ReadSupportedInds() override;
  std::uint32_t WriteShortcuts() override;
  std::uint32_t WriteSupportedInds() override;
  std::uint32_t ReadPopular() override;
  std::uint32_t ReadColours() override;
  std::uint32_t ReadSave() override;
  std::uint32_t ReadKeyboard() override;
  std::uint32_t ReadAutoIntellisense() override;
  std::uint32_t ReadClearScreen() override;
  std::uint32_t WritePopular() override;
  std::uint32_t WriteColours() override;
  std::uint32_t WriteSave() override;
  std::uint32_t WriteKeyboard() override;
  std::uint32_t WriteAutoIntellisense() override;
  std::uint32_t WriteClearScreen() override;
  std::uint32_t WriteAttribute(const wchar_t* value, const wchar_t* attribute,
                               const wchar_t* element, const wchar_t* instancePath) override;
  std::uint32_t ReadAttribute(QCString& value, const wchar_t* attribute, const wchar_t* element,
                              const wchar_t* instancePath) override;

  // The largest file that a load to flash may send, in bytes, read from the document at each call;
  // 0 when it is missing, negative or no document is open.
  std::uint32_t NvLoadFileMaxSizeBytes();

  // See CSVCKIVConfig::CompleteCurrentInstance.
  std::uint32_t CompleteSettings();

  // What the non-virtual operations of the interface reach into.
  SettingsMemory& Memory() noexcept { return memory_; }
  const SettingsMemory& Memory() const noexcept { return memory_; }
  const SettingsPlace& Place() const noexcept { return place_; }

 private:
  bool HasDocument() const;
  // Runs the operation when a document is open: 0, else 2.
  template <typename Operation>
  std::uint32_t WithDocument(const Operation& operation);
  std::uint32_t ReadRows(std::span<const SettingRow> rows);
  std::uint32_t WriteRows(std::span<const SettingRow> rows);
  std::uint32_t AddSession();
  bool SelectInstance();
  std::uint32_t AddInstance();
  bool HasFirstInstance() const;
  // Whether it gave the instance its ID.
  bool NumberFirstInstance();
  std::unique_ptr<CXmlConfig> OpenOther(const QCString& path, xml_config::OpenAs openAs) const;
  void TellNotice();
  // The first instance of the current session, where imports go.
  SettingsPlace FirstInstance() const;

  SvcKivSpace::SvcKivMessage& sender_;
  XmlConfigFactory openXml_;
  QCString path_;
  std::unique_ptr<CXmlConfig> document_;
  std::uint32_t sessionId_ = 0;
  std::uint32_t instanceId_ = 0;
  QCString sessionPath_;
  SettingsPlace place_;
  SettingsMemory memory_;
};

}  // namespace SvcKivClass
