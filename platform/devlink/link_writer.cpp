#include "platform/devlink/link_writer.h"

#include <algorithm>

#include "platform/base/result_codes.h"
#include "platform/devlink/framer.h"
#include "platform/devlink/link_counts.h"
#include "platform/devlink/observer_slot.h"

namespace devlink {

FrameHead LinkWriter::NewHead(const OutMessage& message) const {
  FrameHead head;
  head.kind = message.kind;
  head.id = message.id;
  head.tag = message.tag;
  head.word16 = message.word16;
  head.word32 = message.word32;
  head.sequence = nextSequence_;
  head.bodyLengthBytes = static_cast<std::uint32_t>(message.body.size());
  return head;
}

std::uint32_t LinkWriter::Post(const OutMessage& message) {
  if (message.body.size() > kMaxBodyBytes) return result::kPacketTooLong;
  const std::lock_guard lock(writeMutex_);
  // A stopped link calls nobody any more.
  if (closed_) return result::kLinkDown;
  // Told under the lock: whoever has detached the writer knows that no call-back runs any more.
  LinkObserver* const observer = Observer();
  if (!sessionUp_) {
    if (observer != nullptr) observer->OnPostFailed(message.tag, message.id, result::kLinkDown);
    return result::kLinkDown;
  }
  if (!line_.Reserve(EncodedBytesAtMost(std::min(message.body.size(), kMaxPayloadBytes)))) {
    return result::kNoMemory;
  }
  Tap(Direction::kToDevice, NewHead(message), message.body);
  const std::uint32_t status = WriteLocked(message);
  if (status != result::kOk && observer != nullptr) {
    observer->OnPostFailed(message.tag, message.id, status);
  }
  return status;
}

std::uint32_t LinkWriter::WriteLocked(const OutMessage& message) {
  FrameHead head = NewHead(message);
  const WriteOutcome outcome = WriteFrames(head, message.body);
  if (outcome == WriteOutcome::kWritten) {
    Raise(Counts().messagesOut);
    return result::kOk;
  }
  // Maybe in the middle of a frame: nothing may follow on this stream.
  sessionUp_ = false;
  transport_.reset();
  onBroken_(outcome);
  return result::kLinkDown;
}

WriteOutcome LinkWriter::WriteFrames(FrameHead& head, std::span<const std::uint8_t> body) {
  do {
    const auto payload = body.first(std::min(body.size(), transport_->LargestPayloadBytes()));
    body = body.subspan(payload.size());
    head.flags = body.empty() ? 0 : kMoreFollows;
    head.sequence = nextSequence_++;
    WriteOutcome outcome = WriteFrame(head, payload);
    if (outcome == WriteOutcome::kWritten && !body.empty()) outcome = WriteProbeDue();
    if (outcome != WriteOutcome::kWritten) return outcome;
    head.offsetBytes += static_cast<std::uint32_t>(payload.size());
  } while (!body.empty());
  return WriteOutcome::kWritten;
}

WriteOutcome LinkWriter::WriteFrame(const FrameHead& head, std::span<const std::uint8_t> payload) {
  const std::size_t lengthBytes = EncodeFrame(head, payload, line_.Data());
  const WriteOutcome outcome =
      transport_->Write({line_.Data(), lengthBytes}, LinkClock::now() + writeLimit_);
  if (outcome != WriteOutcome::kWritten) return outcome;
  Raise(Counts().framesOut);
  Raise(Counts().bytesOut, lengthBytes);
  return outcome;
}

// A long message on a slow line takes longer than a device may be silent: the keep-alive stands
// between its frames. Without it the device would not be asked, and be given up.
WriteOutcome LinkWriter::WriteProbeDue() {
  const std::uint32_t tag = probeDue_.exchange(kNoProbe);
  if (tag == kNoProbe || !sessionUp_) return WriteOutcome::kWritten;
  OutMessage probe;
  probe.kind = MessageKind::kKeepAlive;
  probe.tag = static_cast<std::uint16_t>(tag);
  Tap(Direction::kToDevice, NewHead(probe), probe.body);
  FrameHead head = NewHead(probe);
  ++nextSequence_;
  return WriteFrame(head, {});
}

void LinkWriter::Greet(std::shared_ptr<Transport> transport, const OutMessage& hello,
                       const LinkTiming& timing) {
  {
    const std::lock_guard lock(wakeMutex_);
    wakeTarget_ = transport;
  }
  if (closed_) transport->WakeWriter();
  const std::lock_guard lock(writeMutex_);
  transport_ = std::move(transport);
  sessionUp_ = false;
  probeDue_ = kNoProbe;
  nextSequence_ = 0;
  writeLimit_ = timing.writeLimit;
  if (!line_.Reserve(EncodedBytesAtMost(hello.body.size()))) {
    onBroken_(WriteOutcome::kBroken);
    return;
  }
  Tap(Direction::kToDevice, NewHead(hello), hello.body);
  WriteLocked(hello);
}

void LinkWriter::OpenSession() {
  const std::lock_guard lock(writeMutex_);
  sessionUp_ = transport_ != nullptr;
}

void LinkWriter::Probe(std::uint16_t tag) {
  const std::unique_lock lock(writeMutex_, std::try_to_lock);
  probeDue_ = lock ? kNoProbe : tag;
  if (!lock || !sessionUp_ || closed_ || !transport_->Writable()) return;
  OutMessage probe;
  probe.kind = MessageKind::kKeepAlive;
  probe.tag = tag;
  if (!line_.Reserve(EncodedBytesAtMost(0))) return;
  Tap(Direction::kToDevice, NewHead(probe), probe.body);
  WriteLocked(probe);
}

void LinkWriter::Detach() {
  {
    const std::lock_guard lock(wakeMutex_);
    if (wakeTarget_ != nullptr) wakeTarget_->WakeWriter();
    wakeTarget_.reset();
  }
  const std::lock_guard lock(writeMutex_);
  sessionUp_ = false;
  transport_.reset();
}

void LinkWriter::Close() {
  closed_ = true;
  const std::lock_guard lock(wakeMutex_);
  if (wakeTarget_ != nullptr) wakeTarget_->WakeWriter();
}

}  // namespace devlink
