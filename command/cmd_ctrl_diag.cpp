// The diagnostic command of CmdCtrl: parameters to packet, post, and the period of shown
// indications.
#include <QMetaObject>
#include <QThread>
#include <QTimer>
#include <algorithm>

#include "command/cmd_ctrl.h"
#include "command/command_texts.h"
#include "command/packet/diag_packet.h"
#include "link/lirn_kiv_client.h"
#include "platform/base/result_codes.h"
#include "platform/text/qt_text.h"
#include "service/message/debug_trace.h"
#include "service/message/failure_log.h"

using namespace SvcKivClass;  // NOLINT(google-build-using-namespace): the class itself is global

namespace {

constexpr std::uint16_t kUnusedSequenceNumber = 65535;

RenderFlags FlagsOf(const LiveSwitches& switches) {
  return {switches.hexadecimal.load(std::memory_order_relaxed),
          switches.oneLineArrays.load(std::memory_order_relaxed) != 0,
          switches.showType.load(std::memory_order_relaxed) != 0};
}

}  // namespace

void CmdCtrl::ResponseMyCommand() {
  Trace(L"[CmdCtrl::ResponseMyCommand]start");
  if (!context_.switches->IsUeConnected()) {
    response_ += Translated(kNotConnectedText);
    return;
  }
  DiagPacket packet(line_.cmdId, database_.GetPath());
  const bool prepared = PreparePacket(packet);
  if (prepared) {
    DispatchMyCommand(packet);
  } else {
    TakeReply(packet);
  }
}

// The text of a large command is moved, not copied.
void CmdCtrl::TakeReply(DiagPacket& packet) {
  if (response_.IsEmpty()) {
    response_ = packet.TakeReply();
  } else {
    response_ += packet.Reply();
  }
}

bool CmdCtrl::PreparePacket(DiagPacket& packet) {
  if (packet.QueryDefaults() != result::kOk) return false;
  packet.SplitRest(line_.rest);
  Trace([&] { return L"[CmdCtrl::ResponseMyCommand]paramRest = " + packet.Rest(); });
  line_.rest = packet.Rest();
  if (packet.FillParameters() != result::kOk) return false;
  DisplayInputParams(packet);
  return true;
}

void CmdCtrl::DisplayInputParams(DiagPacket& packet) {
  Trace(L"[CmdCtrl::DisplayInputParams]start");
  const QCString shown = packet.DisplayInputParams(FlagsOf(*context_.switches));
  Trace([&] { return L"[CmdCtrl::DisplayInputParams]dispStr = " + shown; });
}

bool CmdCtrl::DispatchMyCommand(DiagPacket& packet) {
  const std::uint32_t encoded = packet.Encode();
  TakeReply(packet);
  if (encoded != result::kOk) return false;
  sequence_ = NextSequenceNumber();
  const std::uint32_t posted = Post(packet);
  if (posted == result::kOk) {
    StartInstantIndPeriod();
    return true;
  }
  if (posted != result::kLinkDown && posted != result::kBadAddress) {
    LogFailure(ueId_, L"CmdCtrl::DispatchMyCommand()", static_cast<std::int32_t>(posted),
               L"Connection Error. Invalid UE ID!");
  }
  response_ += PostFailureText(posted);
  return false;
}

// Plain and direct posts go out whatever the connect status says; only the routed one is checked
// and counted by the link client.
std::uint32_t CmdCtrl::Post(const DiagPacket& packet) {
  const PostRoute route = RouteOf(packet.MacPath());
  if (route.status != result::kOk) return route.status;
  LirnKivClient* link = context_.link.load(std::memory_order_acquire);
  if (link == nullptr) return result::kLinkDown;
  if (route.form == PostForm::kRouted) {
    return link->PostDiagCmd(packet.CmdId(), packet.Body(), packet.BodyLengthBytes(),
                             route.header.data(), sequence_);
  }
  return link->PostCmd(packet.CmdId(), packet.Body(), packet.BodyLengthBytes(), sequence_, 0,
                       route.directNumber);
}

std::uint16_t CmdCtrl::NextSequenceNumber() const noexcept {
  const auto next = static_cast<std::uint16_t>(sequence_ + 1);
  return next == kUnusedSequenceNumber ? 0 : next;
}

void CmdCtrl::StartInstantIndPeriod() {
  if (QThread::currentThread() != thread()) {
    QMetaObject::invokeMethod(
        this, [this] { StartInstantIndPeriod(); }, Qt::QueuedConnection);
    return;
  }
  DeleteTimer();
  periodTimer_ = new QTimer(this);
  connect(periodTimer_, &QTimer::timeout, this, &CmdCtrl::SlotInstantIndTimer);
  // A negative interval never fires: the flag would stay set for ever.
  periodTimer_->start(std::max(periodMs_, 0));
  context_.switches->instantInd.store(true, std::memory_order_relaxed);
}

void CmdCtrl::DeleteTimer() {
  if (periodTimer_ == nullptr) return;
  periodTimer_->stop();
  delete periodTimer_;
  periodTimer_ = nullptr;
}

void CmdCtrl::SlotInstantIndTimer() {
  // A retired controller's period does not end the one that runs in its successor.
  const CmdCtrl* current = context_.currentController;
  if (current == nullptr || current == this || !current->IsPeriodRunning()) {
    context_.switches->instantInd.store(false, std::memory_order_relaxed);
  }
  if (periodTimer_ == nullptr) return;
  periodTimer_->stop();
  // This may run inside the timer's own signal.
  periodTimer_->deleteLater();
  periodTimer_ = nullptr;
}
