#include "link/lirn_kiv_client.h"

#include <algorithm>
#include <cwchar>
#include <new>

#include "link/link_texts.h"
#include "link/wrapped_packet.h"
#include "platform/base/ini_values.h"
#include "platform/base/result_codes.h"
#include "platform/bounded/pool_ptr.h"
#include "platform/text/qt_text.h"
#include "service/message/debug_trace.h"

namespace SvcKivClass {
namespace {

// Packets of this id with this first byte are the device's own bookkeeping and are never shown.
constexpr std::uint32_t kSilentCmdId = 0x7007;
constexpr std::uint8_t kSilentFirstByte = 255;

constexpr std::uint32_t kHookInd = 0;
constexpr std::uint32_t kHookCnf = 1;

bool IsUnrouted(const std::uint8_t* routingHeader) {
  // Only the first hop is looked at: a route whose first hop is all zero is posted plain.
  constexpr std::uint32_t kHopBytes = 6;
  return routingHeader == nullptr || std::all_of(routingHeader, routingHeader + kHopBytes,
                                                 [](std::uint8_t b) { return b == 0; });
}

ReplyDescriptor DescriptorOf(const ReceivedPacket& record) {
  return {record.cmdId, record.body, record.bodyLengthBytes, record.resultCode, record.isInd,
          record.word,  record.tag,  record.word16};
}

void TraceRecord(std::uint32_t index, const ReplyDescriptor& reply) {
  Trace([&] {
    wchar_t line[96];
    std::swprintf(line, sizeof line / sizeof *line,
                  L"[LirnKivClient::ReceiveCmd][%u]cmdId[0x%x], isIndCmd[%d]", index, reply.cmdId,
                  static_cast<int>(reply.isInd));
    return QCString(line);
  });
}

void TraceKind(const ReplyDescriptor& reply) {
  Trace(reply.isInd != 0 ? L"[LirnKivClient::ReceiveCmd]revice IND CMD"
                         : L"[LirnKivClient::ReceiveCmd]revice CNF CMD");
}

bool HasBody(const ReplyDescriptor& reply) {
  return reply.body != nullptr && reply.bodyLengthBytes > 0;
}

}  // namespace

LirnKivClient::LirnKivClient(const wchar_t* name, const LirnKivClientParts& parts)
    : CLinkClientDiagCmd(0, name),
      indicationSupport_(GetIniUint32(L"plc", L"VER", 0)),
      parts_(parts) {}

LirnKivClient::~LirnKivClient() = default;

std::uint32_t LirnKivClient::PostDiagCmd(std::uint32_t cmdId, const void* data,
                                         std::uint32_t lengthBytes,
                                         const std::uint8_t* routingHeader, std::uint16_t tag) {
  if (data == nullptr) return result::kFailure;
  if (!parts_.switches.IsUeConnected()) return result::kNotConnected;
  if (lengthBytes > kMaxPacketBytes) return result::kPacketTooLong;
  const std::uint32_t status = IsUnrouted(routingHeader)
                                   ? PostCmd(cmdId, data, lengthBytes, tag, 0, 0)
                                   : PostWrapped(cmdId, data, lengthBytes, routingHeader, tag);
  CTransferProfile* profile = profile_.load(std::memory_order_acquire);
  if (status == result::kOk && profile != nullptr) profile->IncTxSize(1, lengthBytes);
  return status;
}

std::uint32_t LirnKivClient::PostWrapped(std::uint32_t cmdId, const void* data,
                                         std::uint32_t lengthBytes,
                                         const std::uint8_t* routingHeader, std::uint16_t tag) {
  const std::uint32_t totalBytes = lengthBytes + kWrappedHeadBytes;
  if (totalBytes > kMaxPacketBytes) return result::kPacketTooLong;
  const auto packet = PoolAllocate<std::uint8_t>(totalBytes);
  if (packet == nullptr) return result::kNoMemory;
  // The number is used up whatever becomes of the post.
  const WrappedHead head{sequence_.fetch_add(1, std::memory_order_relaxed), cmdId, routingHeader};
  return WriteWrappedPacket(head, data, lengthBytes, packet.get(), totalBytes)
             ? PostCmd(kWrappedCmdId, packet.get(), totalBytes, tag, 0, 0)
             : result::kFailure;
}

std::int32_t LirnKivClient::ReceiveCmd(const ReceivedPacket* records, std::uint32_t count) {
  if (CTransferProfile* profile = profile_.load(std::memory_order_acquire)) {
    for (std::uint32_t i = 0; i < count; ++i) profile->IncRecvSize(1, records[i].bodyLengthBytes);
  }
  NoticeConfirmations(records, count);
  for (std::uint32_t i = 0; i < count; ++i) {
    const std::int32_t shown = ReceiveOne(i, records[i]);
    if (shown != kShown) return shown;
  }
  return 0;
}

void LirnKivClient::NoticeConfirmations(const ReceivedPacket* records, std::uint32_t count) const {
  ReplyHandlers* const handlers = parts_.handlers.load(std::memory_order_acquire);
  if (handlers == nullptr) return;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (records[i].isInd != 0) continue;
    const std::uint32_t cmdId = WithoutHead(DescriptorOf(records[i])).cmdId;
    handlers->NoticeConfirmation(cmdId, records[i].tag, records[i].resultCode);
  }
}

// kShown also for a packet that is deliberately not shown. Without memory on the way to the text it
// is as without a buffer for it.
std::int32_t LirnKivClient::ReceiveOne(std::uint32_t index, const ReceivedPacket& record) try {
  const ReplyDescriptor reply = DescriptorOf(record);
  TraceRecord(index, reply);
  if (IsTakenByHandler(reply) || !IsKept(reply)) return kShown;
  const ReplyHandlers* const handlers = parts_.handlers.load(std::memory_order_acquire);
  if (handlers == nullptr || !handlers->HooksTexts()) return ShowUnhooked(reply);
  QCString text;
  return ShowReply(reply, text);
} catch (const std::bad_alloc&) {
  return kNoBuffer;
}

bool LirnKivClient::IsTakenByHandler(const ReplyDescriptor& reply) const {
  ReplyHandlers* handlers = parts_.handlers.load(std::memory_order_acquire);
  return handlers != nullptr && handlers->OfferReply(reply.cmdId, reply.resultCode, reply.body,
                                                     reply.bodyLengthBytes, reply) == 0;
}

bool LirnKivClient::IsKept(const ReplyDescriptor& reply) const {
  if (reply.isInd != 0) {
    if (indicationSupport_ == 0) return false;
    if (!parts_.switches.indicationsEnabled.load(std::memory_order_relaxed) &&
        !parts_.switches.instantInd.load(std::memory_order_relaxed)) {
      return false;
    }
  }
  return !(reply.cmdId == kSilentCmdId && reply.body != nullptr && reply.bodyLengthBytes >= 1 &&
           reply.body[0] == kSilentFirstByte);
}

ReplyDescriptor LirnKivClient::WithoutHead(const ReplyDescriptor& reply) const {
  const ReceivedBody inner = Unwrapped({reply.cmdId, reply.body, reply.bodyLengthBytes},
                                       sequence_.load(std::memory_order_relaxed));
  ReplyDescriptor shown = reply;
  shown.cmdId = inner.cmdId;
  shown.body = inner.body;
  shown.bodyLengthBytes = inner.lengthBytes;
  return shown;
}

RenderFlags LirnKivClient::Flags() const {
  const LiveSwitches& switches = parts_.switches;
  return {switches.hexadecimal.load(std::memory_order_relaxed),
          switches.oneLineArrays.load(std::memory_order_relaxed) != 0,
          switches.showType.load(std::memory_order_relaxed) != 0};
}

std::int32_t LirnKivClient::ShowReply(const ReplyDescriptor& reply, QCString& text) {
  const ReplyDescriptor shown = WithoutHead(reply);
  text.Empty();
  if (HasBody(shown)) {
    RenderReply(*this, text, shown, shown.cmdId, Flags());
  } else {
    text = GetResultCodeText(shown.resultCode);
  }
  RunHook(shown, text);
  wchar_t* forView = nullptr;
  return TextForView(text, &forView) ? SendBlock(forView) : kNoBuffer;
}

std::int32_t LirnKivClient::ShowUnhooked(const ReplyDescriptor& reply) {
  const ReplyDescriptor shown = WithoutHead(reply);
  wchar_t* forView = nullptr;
  const bool hasBlock = HasBody(shown)
                            ? RenderReplyForView(*this, shown, shown.cmdId, Flags(), &forView)
                            : TextForView(GetResultCodeText(shown.resultCode), &forView);
  TraceKind(shown);
  return hasBlock ? SendBlock(forView) : kNoBuffer;
}

void LirnKivClient::RunHook(const ReplyDescriptor& reply, QCString& text) const {
  TraceKind(reply);
  if (ReplyHandlers* handlers = parts_.handlers.load(std::memory_order_acquire)) {
    handlers->HookText(reply.isInd != 0 ? kHookInd : kHookCnf, text, reply.cmdId);
  }
}

std::int32_t LirnKivClient::SendBlock(wchar_t* forView) {
  const PoolPtr<wchar_t> owner(forView);
  Trace([&] {
    return QCString(L"[LirnKivClient::ReceiveCmd]text = ") + (forView != nullptr ? forView : L"");
  });
  parts_.sender.SVCSendMessage(SvcKivSpace::kReply, forView);
  return kShown;
}

QCString LirnKivClient::GetResultCodeText(std::uint32_t resultCode) const {
  const result::Entry* const known = result::Find(resultCode);
  if (known != nullptr) return Translated(known->text);
  return FromQString(QObject::tr(texts::kUnknownResult).arg(resultCode));
}

}  // namespace SvcKivClass
