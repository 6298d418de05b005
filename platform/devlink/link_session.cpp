#include "platform/devlink/link_session.h"

#include <algorithm>

#include "platform/base/result_codes.h"
#include "platform/base/version_query.h"
#include "platform/devlink/byte_reader.h"
#include "platform/devlink/greeting.h"
#include "platform/devlink/link_counts.h"
#include "platform/devlink/observer_slot.h"

namespace devlink {

namespace {

constexpr std::uint32_t kConsoleTextId = 0;
constexpr std::uint32_t kLineTestId = 1;

// Text of the device's console comes to clients as the shell's answer does, under its id. The
// protocol variants that have an id of their own:
struct ShellAnswer {
  std::uint32_t variant;
  std::uint32_t id;
};
constexpr ShellAnswer kShellAnswers[] = {{249, 0x4105}};
constexpr std::uint32_t kUsualShellAnswerId = 0xA012;

std::uint32_t ShellAnswerId() {
  const std::uint32_t variant = CVersion::GetVersion();
  for (const ShellAnswer& answer : kShellAnswers) {
    if (answer.variant == variant) return answer.id;
  }
  return kUsualShellAnswerId;
}

void RaiseTo(LinkCounts::Count& count, std::uint64_t now, std::uint64_t before) noexcept {
  if (now != before) Raise(count, now - before);
}

}  // namespace

LinkSession::LinkSession(SessionHost& host, std::uint16_t helloTag, std::uint64_t ownFingerprint)
    : host_(host), helloTag_(helloTag), ownFingerprint_(ownFingerprint), receiver_(*this) {}

bool LinkSession::Feed(std::span<std::uint8_t> piece) {
  heardAnything_ = true;
  readAt_ = LinkClock::now();
  const bool wasGreeted = greeted_;
  const std::uint64_t framesBefore = receiver_.Counts().frames;
  Raise(Counts().bytesIn, piece.size());
  deframer_.Feed(piece, receiver_);
  CountUp();
  HandOver();
  receiver_.DropJoined();
  return receiver_.Counts().frames != framesBefore || greeted_ != wasGreeted;
}

void LinkSession::HandOver() {
  if (batch_.empty()) return;
  host_.OnBatch(batch_.data(), static_cast<std::uint32_t>(batch_.size()));
  batch_.clear();
}

void LinkSession::OnMessage(const FrameHead& head, std::span<const std::uint8_t> body) {
  if (!problem_.empty()) return;
  Raise(Counts().messagesIn);
  Tap(Direction::kFromDevice, head, body, head.offsetBytes == 0 ? readAt_ : firstFrameAt_);
  switch (head.kind) {
    case MessageKind::kHello:
      Raise(Counts().framesIn);  // the receiver counts those of a session, which begins behind it
      return TakeHello(head, body);
    case MessageKind::kKeepAlive:
      return TakeDeviceCounts(body);
    case MessageKind::kRawText:
      return TakeRawText(head, body);
    case MessageKind::kInd:
      TakeDropped(head.word32);
      return AddRecord(head, head.id, body);
    default:
      return AddRecord(head, head.id, body);
  }
}

// Only an answer to our own hello counts; one that comes when the session stands is of no use.
void LinkSession::TakeHello(const FrameHead& head, std::span<const std::uint8_t> body) {
  if (greeted_ || head.tag != helloTag_) return;
  const auto peer = ReadDeviceGreeting(body, ownFingerprint_);
  if (!peer) return;
  if (head.result != result::kOk) {
    problem_ = "the device refused the greeting: " + result::Text(head.result).ToUtf8();
    return;
  }
  if (peer->protocolVersion != kProtocolVersion) {
    problem_ = "the device greeted with protocol version " + std::to_string(peer->protocolVersion) +
               ", which was not offered";
    return;
  }
  greeted_ = true;
  receiver_.BeginSession();
  strayAtGreeting_ = deframer_.Counts().damaged + deframer_.Counts().stray;
  host_.OnGreeted(*peer);
}

void LinkSession::TakeRawText(const FrameHead& head, std::span<const std::uint8_t> body) {
  if (head.id == kConsoleTextId) AddRecord(head, ShellAnswerId(), body);
  if (head.id == kLineTestId) host_.OnTestAnswer(head.tag);
}

void LinkSession::TakeDeviceCounts(std::span<const std::uint8_t> body) {
  ByteReader reader(body);
  const std::uint32_t bad = reader.U32();
  const std::uint32_t lost = reader.U32();
  const std::uint32_t repeated = reader.U32();
  const std::uint32_t abandoned = reader.U32();
  const std::uint32_t dropped = reader.U32();
  if (!reader.Ok()) return;
  losses_.Set(Loss::kDeviceBadFrames, bad);
  losses_.Set(Loss::kDeviceLostFrames, lost);
  losses_.Set(Loss::kDeviceRepeatedFrames, repeated);
  losses_.Set(Loss::kDeviceAbandoned, abandoned);
  TakeDropped(dropped);
}

// `total` of the session, modulo 2 to the 32nd. One that was overtaken by a newer one says nothing.
void LinkSession::TakeDropped(std::uint32_t total) {
  const std::uint64_t known = losses_.Get(Loss::kIndicationsDropped);
  const std::uint32_t more = total - static_cast<std::uint32_t>(known);
  if (more == 0 || more >= 0x80000000u) return;
  losses_.Set(Loss::kIndicationsDropped, known + more);
  Raise(Counts().deviceDropped, more);
}

void LinkSession::AddRecord(const FrameHead& head, std::uint32_t id,
                            std::span<const std::uint8_t> body) {
  ReceivedPacket record = {};
  record.cmdId = id;
  record.resultCode = head.result;
  record.isInd = head.kind == MessageKind::kCnf ? 0 : 1;
  record.body = body.empty() ? nullptr : body.data();
  record.bodyLengthBytes = static_cast<std::uint32_t>(body.size());
  record.word = head.word32;
  record.tag = head.tag;
  record.word16 = head.word16;
  batch_.push_back(record);
}

// Before the hand-over, so that a host that asks for the counters there finds this read in them.
void LinkSession::CountUp() {
  const DeframerCounts deframed = deframer_.Counts();
  const ReceiverCounts received = receiver_.Counts();
  const std::uint64_t bad = deframed.damaged + deframed.stray;
  LinkCounts& counts = Counts();
  RaiseTo(counts.framesIn, received.frames, received_.frames);
  RaiseTo(counts.badMessages, received.malformed, received_.malformed);
  RaiseTo(counts.sequenceGaps, received.lost, received_.lost);
  RaiseTo(counts.repeatedFrames, received.repeated, received_.repeated);
  RaiseTo(counts.abandonedMessages, received.abandoned, received_.abandoned);
  if (greeted_) {
    RaiseTo(counts.badFrames, bad, std::max(deframed_.damaged + deframed_.stray, strayAtGreeting_));
    losses_.Set(Loss::kDamagedFrames, bad - strayAtGreeting_);
  }
  losses_.Set(Loss::kMalformedFrames, received.malformed);
  losses_.Set(Loss::kLostFrames, received.lost);
  losses_.Set(Loss::kRepeatedFrames, received.repeated);
  losses_.Set(Loss::kAbandonedMessages, received.abandoned);
  deframed_ = deframed;
  received_ = received;
}

}  // namespace devlink
