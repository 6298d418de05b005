// LinkSession: the receiving half of a link over one open endpoint: first the greeting, then
// messages.
//
// Every read is taken apart as a whole and handed over as one batch; the tap sees each message
// before.
//
// Threads: the link's.
// Borrows the client side (SessionHost), which outlives it.
// Errors: counted; Problem() says why the session cannot go on.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/devlink/deframer.h"
#include "platform/devlink/link_client.h"
#include "platform/devlink/link_observer.h"
#include "platform/devlink/link_timing.h"
#include "platform/devlink/loss_report.h"
#include "platform/devlink/message_receiver.h"

namespace devlink {

// What a session tells the link.
class SessionHost {
 public:
  virtual ~SessionHost() = default;
  // The device's greeting was taken.
  virtual void OnGreeted(const PeerInfo& peer) = 0;
  virtual void OnBatch(const ReceivedPacket* records, std::uint32_t count) = 0;
  // The answer to a line test, which only the device adapter asks for.
  virtual void OnTestAnswer(std::uint16_t tag) = 0;
};

// One session, from the greeting to its end.
class LinkSession : private MessageSink {
 public:
  // `helloTag` is the tag of our own hello: an answer with another one is of an earlier session.
  LinkSession(SessionHost& host, std::uint16_t helloTag, std::uint64_t ownFingerprint);

  // What one read brought; the bytes are changed. Whatever it completes is handed over before it
  // returns. True when a sound frame was in it.
  bool Feed(std::span<std::uint8_t> piece);

  bool Greeted() const noexcept { return greeted_; }
  bool HeardAnything() const noexcept { return heardAnything_; }
  const std::string& Problem() const noexcept { return problem_; }
  // One line about losses not yet told, if it is time for one.
  std::optional<std::string> LossLine(LinkClock::time_point now, Milliseconds noticeEvery) {
    return losses_.Line(now, noticeEvery);
  }

 private:
  void OnFirstFrame() override { firstFrameAt_ = readAt_; }
  void OnMessage(const FrameHead& head, std::span<const std::uint8_t> body) override;
  void TakeHello(const FrameHead& head, std::span<const std::uint8_t> body);
  void TakeRawText(const FrameHead& head, std::span<const std::uint8_t> body);
  void TakeDeviceCounts(std::span<const std::uint8_t> body);
  void TakeDropped(std::uint32_t total);
  void AddRecord(const FrameHead& head, std::uint32_t id, std::span<const std::uint8_t> body);
  void HandOver();
  void CountUp();

  SessionHost& host_;
  std::uint16_t helloTag_;
  std::uint64_t ownFingerprint_;
  bool greeted_ = false;
  bool heardAnything_ = false;
  LinkClock::time_point readAt_{};        // of the read that is taken apart
  LinkClock::time_point firstFrameAt_{};  // of a message of several frames
  std::string problem_;
  Deframer deframer_;
  MessageReceiver receiver_;
  // What of the two is in the process's counters already.
  DeframerCounts deframed_;
  ReceiverCounts received_;
  std::uint64_t strayAtGreeting_ = 0;  // damaged and stray before the session stood
  LossReport losses_;
  std::vector<ReceivedPacket> batch_;
};

}  // namespace devlink
