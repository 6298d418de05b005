// LinkWriter: the sending half of a link: numbers frames and writes them, on whichever thread
// posts.
//
// One lock makes one writer at a time: a message is written whole before another begins, and a
// frame that was written in part is never continued by another writer, since the first failure ends
// the writing.
//
// Threads: Post from any; the rest as the methods say.
// Borrows bodies for the call. Shares the transport with the link.
// Errors: statuses of result_codes.h. A write that fails is told to the link through `onBroken`.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <span>

#include "platform/devlink/frame_head.h"
#include "platform/devlink/link_timing.h"
#include "platform/devlink/pool_buffer.h"
#include "platform/devlink/transport.h"

namespace devlink {

// What a post says; the writer adds sequence number, length and offset.
struct OutMessage {
  MessageKind kind = MessageKind::kRequest;
  std::uint32_t id = 0;
  std::uint16_t tag = 0;
  std::uint16_t word16 = 0;
  std::uint32_t word32 = 0;
  std::span<const std::uint8_t> body;
};

// The one way to the line: frames are written whole, one writer at a time.
class LinkWriter {
 public:
  // Called on the thread whose write failed.
  using BrokenHandler = std::function<void(WriteOutcome outcome)>;

  explicit LinkWriter(BrokenHandler onBroken) : onBroken_(std::move(onBroken)) {}

  // Any thread. 3207 when no session stands, 22 for a body beyond the wire's limit, 500 without
  // memory.
  std::uint32_t Post(const OutMessage& message);

  // Link's thread: the endpoint is open. Writes the greeting, with which the numbers start anew.
  void Greet(std::shared_ptr<Transport> transport, const OutMessage& hello,
             const LinkTiming& timing);
  // Link's thread: the greeting was answered, posts may go.
  void OpenSession();
  // Link's thread: a keep-alive, unless nothing can be written now. While somebody else is writing
  // it goes out behind the frame that is under way.
  void Probe(std::uint16_t tag);
  // Link's thread: no more is written, a writer that waits is woken. When it returns nobody writes.
  void Detach();

  // Any thread: posts are refused from now on, a writer that waits is woken.
  void Close();
  // Any thread: posts are possible again once a session stands.
  void Reopen() noexcept { closed_ = false; }

 private:
  static constexpr std::uint32_t kNoProbe = 0x10000;  // no tag is so large

  std::uint32_t WriteLocked(const OutMessage& message);
  WriteOutcome WriteFrames(FrameHead& head, std::span<const std::uint8_t> body);
  WriteOutcome WriteFrame(const FrameHead& head, std::span<const std::uint8_t> payload);
  WriteOutcome WriteProbeDue();
  FrameHead NewHead(const OutMessage& message) const;

  BrokenHandler onBroken_;
  std::atomic<bool> closed_{false};
  std::atomic<std::uint32_t> probeDue_{kNoProbe};  // tag of one that waits for its turn

  std::mutex wakeMutex_;  // never held while waiting
  std::shared_ptr<Transport> wakeTarget_;

  std::mutex writeMutex_;
  std::shared_ptr<Transport> transport_;
  bool sessionUp_ = false;
  std::uint32_t nextSequence_ = 0;
  Milliseconds writeLimit_{0};
  PoolBuffer line_;
};

}  // namespace devlink
