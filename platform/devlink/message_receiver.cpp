#include "platform/devlink/message_receiver.h"

namespace devlink {

namespace {

// A sequence number this far ahead or more is one from the past.
constexpr std::uint32_t kHalfOfNumbers = 0x80000000u;

bool TravelsToHost(MessageKind kind) noexcept { return kind != MessageKind::kRequest; }

}  // namespace

void MessageReceiver::BeginSession() noexcept {
  EndSession();
  inSession_ = true;
  expected_ = 1;
}

void MessageReceiver::EndSession() noexcept {
  GiveUp();
  inSession_ = false;
}

void MessageReceiver::OnFrame(std::span<const std::uint8_t> content) {
  FrameHead head;
  std::span<const std::uint8_t> payload;
  const bool wellFormed = ReadHead(content, head, payload) && TravelsToHost(head.kind);
  if (head.kind == MessageKind::kHello && (wellFormed || inSession_)) {
    GiveUp();
    if (!wellFormed) ++counts_.malformed;
    if (wellFormed) sink_.OnMessage(head, payload);
    return;
  }
  if (!inSession_) return;
  // A frame that is no use still had its number, if it is of this protocol at all.
  const bool numbered = head.version == kWireVersion;
  if (numbered && !TakeSequence(head)) return;
  if (!wellFormed) {
    ++counts_.malformed;
    return;
  }
  ++counts_.frames;
  if (head.kind == MessageKind::kKeepAlive) {
    sink_.OnMessage(head, payload);
    return;
  }
  TakePart(head, payload);
}

// False for a frame that was seen before or belongs to an earlier session.
bool MessageReceiver::TakeSequence(const FrameHead& head) noexcept {
  const std::uint32_t ahead = head.sequence - expected_;
  if (ahead >= kHalfOfNumbers) {
    ++counts_.repeated;
    return false;
  }
  if (ahead != 0) {
    counts_.lost += ahead;
    GiveUp();
  }
  expected_ = head.sequence + 1;
  return true;
}

void MessageReceiver::TakePart(const FrameHead& head, std::span<const std::uint8_t> payload) {
  if (underWay_ && (!head.SameMessage(first_) || head.offsetBytes != collected_.SizeBytes())) {
    GiveUp();
  }
  if (!underWay_ && head.offsetBytes != 0) {
    ++counts_.malformed;
    return;
  }
  if (!underWay_ && !head.MoreFollows()) {
    sink_.OnMessage(head, payload);
    return;
  }
  if (!underWay_) {
    first_ = head;
    sink_.OnFirstFrame();
  }
  underWay_ = true;
  if (!collected_.Append(payload, head.bodyLengthBytes)) {
    GiveUp();
    return;
  }
  if (head.MoreFollows()) return;
  underWay_ = false;
  joined_.push_back(std::move(collected_));
  sink_.OnMessage(head, joined_.back().View());
}

void MessageReceiver::GiveUp() noexcept {
  if (underWay_) ++counts_.abandoned;
  underWay_ = false;
  collected_.Release();
}

}  // namespace devlink
