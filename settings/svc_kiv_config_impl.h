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
#include <memory>

#include "platform/xml/xml_config.h"
#include "service/message/live_switches.h"
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
  explicit SvcKivConfigImpl(SvcKivConfigParts parts);
  ~SvcKivConfigImpl() override;

  // The largest file that a load to flash may send, in bytes, read from the document at each call;
  // 0 when it is missing, negative or no document is open.
  std::uint32_t NvLoadFileMaxSizeBytes();
};

}  // namespace SvcKivClass
