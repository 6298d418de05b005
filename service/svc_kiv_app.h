// SvcKivApp: the module's one application object. It makes settings object, link client and command
// controller in a fixed order, takes them down again, and holds the switches that the view sets
// from outside.
//
// Threads: the facade's, but for the switches, the message object and what stands in the service
// context, which the link's thread reads. Stop returns only when no call-back runs any more. Owns
// everything it makes. A controller that ReloadDb replaced lives on until Stop, because the host
// may still hold its command list and its period may still run. Errors: the statuses of link and
// profile do not stop Start; a post tells what is missing.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "command/built_in_channels.h"
#include "command/cmd_ctrl.h"
#include "link/lirn_kiv_client.h"
#include "platform/adapter/dev_adapter_connect.h"
#include "platform/text/qc_string.h"
#include "platform/xml/xml_config.h"
#include "service/message/live_switches.h"
#include "settings/svc_kiv_config_impl.h"
#include "svckiv/morvi_cmd_list.h"
#include "svckiv/svc_kiv_config.h"
#include "svckiv/svc_kiv_message.h"

namespace SvcKivClass {

// What the facade's object leaves at its defaults and tests exchange.
struct SvcKivAppParts {
  std::vector<ChannelEntries> channels = BuiltInChannels();
  QCString cataloguePath = {};    // empty: the bench setup's
  XmlConfigFactory openXml = {};  // of settings files; empty: as they are
};

// The one application object behind the facade.
class SvcKivApp {
 public:
  explicit SvcKivApp(SvcKivAppParts parts = {});
  // Runs the steps of Stop for what still exists.
  ~SvcKivApp();
  SvcKivApp(const SvcKivApp&) = delete;
  SvcKivApp& operator=(const SvcKivApp&) = delete;

  // Makes only what is missing. Answers the settings object, with session 1 and instance UE id
  // loaded when it was made now.
  SvcKivSpace::CSVCKIVConfig* Start();
  // Deletes the settings object, which saves, ends and deletes the link client, then deletes the
  // controllers; a second call finds nothing to do. The switches keep their values, but for those
  // of the settings.
  void Stop();
  // Replaces the controller by a fresh one; sequence number and period begin anew with it. A file
  // load that is under way ends, and its file is closed.
  void ReloadDb();

  // Leaves `reply` as it is when there is no controller.
  void GetDiagCmdResponse(const wchar_t* line, QCString& reply);
  // What the device adapter answers, unchanged.
  unsigned long TestServerResponse(const void* buffer, unsigned long lengthBytes);

  // Lives as long as this object; views may connect before Start.
  SvcKivSpace::SvcKivMessage* GetMsgSender() noexcept { return &sender_; }
  SvcKivSpace::MorviCmdList* GetMorviCmdList() noexcept;  // null without a controller
  // All null before Start and after Stop; for this object's own parts and their tests.
  SvcKivConfigImpl* GetSettings() noexcept { return settings_.get(); }
  CmdCtrl* GetController() noexcept { return controller_.get(); }
  LirnKivClient* GetLinkClient() noexcept { return link_.get(); }
  LiveSwitches& GetSwitches() noexcept { return switches_; }
  std::uint32_t GetUeId() const noexcept { return ueId_; }

  // Any value but 0 means that a device is connected. The host tells it; the link does not. 0 ends
  // a file load that is under way.
  void SetUEConnectStatus(std::int32_t status) noexcept;
  // How numbers are shown, from the next reply on.
  void SetHexadecimalFlag(bool hexadecimal) noexcept;
  bool GetHexadecimalFlag() const noexcept;
  // Whether indications are shown for now. An accepted command sets it too, and the end of the
  // period that begins with the command clears it.
  void SetIsEnableInstantInd(bool enable) noexcept;
  bool GetIsEnableInstantInd() const noexcept;
  // Ignored when there is no controller.
  void SetInstantIndTime(std::int32_t periodMs) noexcept;

 private:
  void MakeSettings();
  void MakeLinkClient();
  void StopLinkClient();
  void MakeController();
  void DeleteControllers();
  void DeleteSettings();

  // Destroyed from the last to the first: the link goes before what its thread uses.
  SvcKivAppParts parts_;
  std::uint32_t ueId_ = 0;
  LiveSwitches switches_;
  SvcKivSpace::SvcKivMessage sender_;
  std::unique_ptr<CmdCtrl> controller_;
  std::vector<std::unique_ptr<CmdCtrl>> retired_;
  std::atomic<ReplyHandlers*> handlers_{nullptr};  // the current controller, for the link's thread
  ServiceContext context_;
  std::unique_ptr<SvcKivConfigImpl> settings_;
  std::unique_ptr<LirnKivClient> link_;
  std::unique_ptr<CDevAdapterConnect> adapter_;
};

}  // namespace SvcKivClass
