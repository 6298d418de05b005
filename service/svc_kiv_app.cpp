#include "service/svc_kiv_app.h"

#include <utility>

#include "platform/base/transfer_profile.h"
#include "platform/os/time_thread.h"
#include "platform/text/qt_text.h"
#include "service/message/debug_trace.h"
#include "service/message/view_sender.h"
#include "service/service_texts.h"

namespace SvcKivClass {
namespace {

// Fixed by the device: link channel, connect mask and flag.
constexpr std::uint32_t kLinkChannel = 256;
constexpr std::uint32_t kConnectMask = 8191;
constexpr std::int32_t kConnectFlag1 = 1;
constexpr std::int32_t kConnectFlag2 = 0;

constexpr std::uint32_t kStopPauseMs = 5;
constexpr std::uint32_t kShutdownTimeoutMs = 200;
constexpr std::int32_t kShutdownWait = 1;

constexpr std::uint32_t kUeId = 1;
constexpr std::uint32_t kSessionId = 1;

QCString ClientName(std::uint32_t ueId) {
  return FromQString(QObject::tr(kClientNamePattern).arg(ueId));
}

}  // namespace

SvcKivApp::SvcKivApp(SvcKivAppParts parts)
    : parts_(std::move(parts)), adapter_(std::make_unique<CDevAdapterConnect>()) {
  context_.switches = &switches_;
  SetServiceContext(&context_);
  SetViewSender(&sender_);
}

SvcKivApp::~SvcKivApp() {
  Stop();
  SetViewSender(nullptr);
  SetServiceContext(nullptr);
}

SvcKivSpace::CSVCKIVConfig* SvcKivApp::Start() {
  ueId_ = kUeId;
  if (settings_ == nullptr) MakeSettings();
  if (link_ == nullptr) MakeLinkClient();
  if (controller_ == nullptr) MakeController();
  return settings_.get();
}

void SvcKivApp::MakeSettings() {
  settings_ =
      std::make_unique<SvcKivConfigImpl>(SvcKivConfigParts{switches_, sender_, parts_.openXml});
  settings_->SetSessionAndInstance(kSessionId, ueId_);
  settings_->LoadEverything();
  context_.settings = settings_.get();
}

void SvcKivApp::MakeLinkClient() {
  Trace(L"[SvcKivApp::Start]start create lirn client");
  const QCString name = ClientName(ueId_);
  link_ = std::make_unique<LirnKivClient>(name.c_str(),
                                          LirnKivClientParts{switches_, sender_, handlers_});
  context_.link.store(link_.get(), std::memory_order_release);
  link_->InstallClient(kLinkChannel, ueId_);
  TpfClientInstall(link_->TransferProfile(), kLinkChannel, ueId_);
  link_->StartConnect(kLinkChannel, ueId_, kConnectMask, kConnectFlag1, kConnectFlag2);
  Trace(L"[SvcKivApp::Start]end create lirn client");
}

void SvcKivApp::MakeController() {
  controller_ = std::make_unique<CmdCtrl>(CmdCtrlParts{
      context_, parts_.channels, this, static_cast<std::int32_t>(ueId_), parts_.cataloguePath});
  context_.currentController = controller_.get();
  handlers_.store(controller_.get(), std::memory_order_release);
  controller_->Initial();
}

void SvcKivApp::Stop() {
  DeleteSettings();
  if (link_ != nullptr) StopLinkClient();
  DeleteControllers();
}

// Replies look at the switches alone, so the link's thread may still run.
void SvcKivApp::DeleteSettings() {
  context_.settings = nullptr;
  settings_.reset();
  switches_.ResetSettings();
}

// The link's thread runs until Shutdown returned: nothing that it reads is deleted before.
void SvcKivApp::StopLinkClient() {
  link_->StopConnect(kLinkChannel, ueId_, kConnectMask);
  Sleep(kStopPauseMs);
  TpfClientUnInstall(link_->TransferProfile());
  link_->Shutdown(kShutdownTimeoutMs, kShutdownWait);
  context_.link.store(nullptr, std::memory_order_release);
  link_.reset();
}

void SvcKivApp::DeleteControllers() {
  handlers_.store(nullptr, std::memory_order_release);
  context_.currentController = nullptr;
  controller_.reset();
  retired_.clear();
}

void SvcKivApp::ReloadDb() {
  if (controller_ == nullptr) return MakeController();
  retired_.push_back(std::move(controller_));
  try {
    MakeController();
    retired_.back()->EndLoad();
  } catch (...) {
    // The old one goes on. What was made of the new one may be in use on the link's thread.
    controller_.swap(retired_.back());
    context_.currentController = controller_.get();
    handlers_.store(controller_.get(), std::memory_order_release);
    throw;
  }
}

void SvcKivApp::GetDiagCmdResponse(const wchar_t* line, QCString& reply) {
  if (controller_ != nullptr) controller_->GetDiagCmdResponse(line, reply);
}

unsigned long SvcKivApp::TestServerResponse(const void* buffer, unsigned long lengthBytes) {
  return adapter_->TestServerResponse(buffer, lengthBytes);
}

SvcKivSpace::MorviCmdList* SvcKivApp::GetMorviCmdList() noexcept {
  return controller_ == nullptr ? nullptr : controller_->GetMorviCmdList();
}

void SvcKivApp::SetUEConnectStatus(std::int32_t status) noexcept {
  switches_.ueConnectStatus.store(status, std::memory_order_relaxed);
  if (status == 0 && controller_ != nullptr) controller_->EndLoadOfLostLink();
}

void SvcKivApp::SetHexadecimalFlag(bool hexadecimal) noexcept {
  switches_.hexadecimal.store(hexadecimal, std::memory_order_relaxed);
}

bool SvcKivApp::GetHexadecimalFlag() const noexcept {
  return switches_.hexadecimal.load(std::memory_order_relaxed);
}

void SvcKivApp::SetIsEnableInstantInd(bool enable) noexcept {
  switches_.instantInd.store(enable, std::memory_order_relaxed);
}

bool SvcKivApp::GetIsEnableInstantInd() const noexcept {
  return switches_.instantInd.load(std::memory_order_relaxed);
}

void SvcKivApp::SetInstantIndTime(std::int32_t periodMs) noexcept {
  if (controller_ != nullptr) controller_->SetInstantIndTime(periodMs);
}

}  // namespace SvcKivClass
