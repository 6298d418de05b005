// LirnKivClient: the module's one connection to the device.
//
// Posts diagnostic packets and shows what comes back: the controller is told of the confirmations,
// each received packet is offered to the reply handlers, indications are filtered, the body is
// rendered and the text goes to the view as message kind 1.
//
// Threads: PostDiagCmd on the caller's thread; ReceiveCmd and ShowReply on the link's. They share
// the sequence counter, the profile and the switches, all atomics; the order between these does not
// matter. Owns nothing: switches, message object and handler pointer are borrowed and outlive the
// client. Posted data stays the caller's. A text sent to the view is released when the signal
// returned. Errors: statuses of platform/base/result_codes.h.
#pragma once

#include <atomic>
#include <cstdint>

#include "link/reply_handlers.h"
#include "platform/base/transfer_profile.h"
#include "platform/devlink/link_client.h"
#include "service/message/live_switches.h"
#include "svckiv/svc_kiv_message.h"

namespace SvcKivClass {

// What the client needs from above.
struct LirnKivClientParts {
  const LiveSwitches& switches;
  SvcKivSpace::SvcKivMessage& sender;
  const std::atomic<ReplyHandlers*>& handlers;  // null inside: no controller, everything is shown
};

// The module's connection: posts commands, shows what comes back.
class LirnKivClient : public CLinkClientDiagCmd, public ResultCodeTexts {
 public:
  // Longest command, and longest wrapped packet, in bytes.
  static constexpr std::uint32_t kMaxPacketBytes = 2048;
  static constexpr std::int32_t kShown = 1;
  static constexpr std::int32_t kNoBuffer = -1;

  LirnKivClient(const wchar_t* name, const LirnKivClientParts& parts);
  ~LirnKivClient() override;

  // Posts one command. `routingHeader` is 18 bytes; null, or zero in its first six bytes, posts the
  // data as it is. 0xFFFFFFFF for null data, 502 when no device is connected, 22 when it is too
  // long, 500 without memory; else the status of PostCmd.
  std::uint32_t PostDiagCmd(std::uint32_t cmdId, const void* data, std::uint32_t lengthBytes,
                            const std::uint8_t* routingHeader, std::uint16_t tag);

  // 0, or the first result of ShowReply that is not kShown; the batch ends there.
  std::int32_t ReceiveCmd(const ReceivedPacket* records, std::uint32_t count) override;

  // kShown, or kNoBuffer when the pool has no buffer: nothing is sent then. `text` gets the
  // rendered text.
  std::int32_t ShowReply(const ReplyDescriptor& reply, QCString& text);

  QCString GetResultCodeText(std::uint32_t resultCode) const override;

  // Null until TpfClientInstall filled it.
  std::atomic<CTransferProfile*>& TransferProfile() noexcept { return profile_; }

 private:
  std::uint32_t PostWrapped(std::uint32_t cmdId, const void* data, std::uint32_t lengthBytes,
                            const std::uint8_t* routingHeader, std::uint16_t tag);
  void NoticeConfirmations(const ReceivedPacket* records, std::uint32_t count) const;
  std::int32_t ReceiveOne(std::uint32_t index, const ReceivedPacket& record);
  bool IsTakenByHandler(const ReplyDescriptor& reply) const;
  bool IsKept(const ReplyDescriptor& reply) const;
  ReplyDescriptor WithoutHead(const ReplyDescriptor& reply) const;
  RenderFlags Flags() const;
  // As ShowReply, when nobody wants the text on its way to the view.
  std::int32_t ShowUnhooked(const ReplyDescriptor& reply);
  void RunHook(const ReplyDescriptor& reply, QCString& text) const;
  // Sends and releases a block, which may be null.
  std::int32_t SendBlock(wchar_t* forView);

  const std::uint32_t indicationSupport_;  // 0: a device generation without indications to show
  std::atomic<std::uint32_t> sequence_{0};
  std::atomic<CTransferProfile*> profile_{nullptr};
  LirnKivClientParts parts_;
};

}  // namespace SvcKivClass
