// MessageReceiver: sound frames of a session to whole messages (docs/wire-format.md 2 to 5).
//
// Checks heads, follows the sequence numbers, drops what was seen before, joins the frames of a
// message. The total length is bounded before a byte is stored, and memory grows only with what
// really arrives.
//
// Threads: one receiver for one thread.
// Borrows contents. A message handed to the sink lives until DropJoined, or until the content's
// memory goes if that is sooner (a message of one frame points into it). Errors: counted; a joined
// message that finds no memory is abandoned.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/devlink/deframer.h"
#include "platform/devlink/frame_head.h"
#include "platform/devlink/pool_buffer.h"

namespace devlink {

// What the receiver dropped, and why.
struct ReceiverCounts {
  std::uint64_t frames = 0;     // sound and well formed, of this session
  std::uint64_t malformed = 0;  // sound frames that are no part of a message
  std::uint64_t lost = 0;       // frames missing by their sequence numbers
  std::uint64_t repeated = 0;   // frames that had been seen before
  std::uint64_t abandoned = 0;  // messages given up before their last frame
};

// Gets each whole message.
class MessageSink {
 public:
  virtual ~MessageSink() = default;
  // The first frame of a message that more frames belong to.
  virtual void OnFirstFrame() {}
  // A whole message; the head is that of its last frame. A hello is given on too, in or out of a
  // session.
  virtual void OnMessage(const FrameHead& head, std::span<const std::uint8_t> body) = 0;
};

// Frames to messages: heads checked, sequence followed, pieces joined.
class MessageReceiver : public FrameSink {
 public:
  explicit MessageReceiver(MessageSink& sink) : sink_(sink) {}

  void OnFrame(std::span<const std::uint8_t> content) override;
  // The device's greeting was taken: its frames count from 1 on.
  void BeginSession() noexcept;
  // Only a hello gets through from now on; what else arrives is ignored and not counted.
  void EndSession() noexcept;
  // Releases the messages that were joined since the last call.
  void DropJoined() noexcept { joined_.clear(); }

  const ReceiverCounts& Counts() const noexcept { return counts_; }

 private:
  bool TakeSequence(const FrameHead& head) noexcept;
  void TakePart(const FrameHead& head, std::span<const std::uint8_t> payload);
  void GiveUp() noexcept;

  MessageSink& sink_;
  bool inSession_ = false;
  std::uint32_t expected_ = 0;
  bool underWay_ = false;  // a message of several frames
  FrameHead first_;
  PoolBuffer collected_;
  std::vector<PoolBuffer> joined_;
  ReceiverCounts counts_;
};

}  // namespace devlink
