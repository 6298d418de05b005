// The device's end of the link in a bench, prepared in advance: while something is timed it only
// writes bytes that were made before, so that what is measured is this side of the line.
//
// BenchDevice listens where the bench setup's endpoint points; RawDevice is the bare other end of a
// socket pair and answers in the very same way, which makes it the raw ping-pong.
//
// Threads: one thread each for the answers; everything else is the bench's main thread.
// Owns sockets and threads. Errors: the program ends with a message.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

#include "bench/bench_shapes.h"
#include "platform/devlink/link_observer.h"

namespace bench_device {

using Bytes = std::vector<std::uint8_t>;

// One whole frame of the line, with the set of values whose turn it is.
Bytes FrameOf(devlink::MessageKind kind, const bench_shapes::Sample& sample, std::size_t turn,
              std::uint32_t sequence);
// One whole confirmation that answers the request with this tag.
Bytes ConfirmationOf(std::uint32_t cmdId, const Bytes& body, std::uint16_t tag,
                     std::uint32_t sequence);
// Writes everything, waiting as long as it takes.
void WriteAll(int descriptor, const std::uint8_t* bytes, std::size_t lengthBytes);
// Reads at least one byte; 0 at the end.
std::size_t ReadSome(int descriptor, std::uint8_t* to, std::size_t roomBytes);

// Answers that were made in advance, one for each request.
class Answers {
 public:
  // From now on. The answers before must all have been given.
  void Arm(std::vector<Bytes> answers);
  // Takes what was read; when it completes a request the next answer is written. False when nothing
  // is armed.
  bool Take(int descriptor, const std::uint8_t* bytes, std::size_t lengthBytes);
  // The bytes of the last request.
  Bytes LastRequest();

 private:
  std::mutex mutex_;
  std::vector<Bytes> answers_;
  std::size_t given_ = 0;
  Bytes request_;
};

class BenchDevice {
 public:
  BenchDevice();
  ~BenchDevice();
  BenchDevice(const BenchDevice&) = delete;
  BenchDevice& operator=(const BenchDevice&) = delete;

  // The next `count` frames of the session.
  std::vector<Bytes> NextFrames(devlink::MessageKind kind, const bench_shapes::Sample& sample,
                                std::size_t count);
  // The next `count` confirmations of the session, with tags that follow one another.
  std::vector<Bytes> NextConfirmations(std::uint32_t cmdId, const Bytes& body,
                                       std::uint16_t firstTag, std::size_t count);
  Answers& Prepared() { return answers_; }
  // Writes frames from the caller's thread. Probes are not answered meanwhile: their answers would
  // come in between, and the link is alive as long as anything arrives.
  void Send(const Bytes& frames);

 private:
  void Serve();
  void Converse(const std::uint8_t* bytes, std::size_t lengthBytes);

  int listener_ = -1;
  std::atomic<int> connection_{-1};
  std::atomic<bool> isSending_{false};
  std::mutex sequenceMutex_;
  std::uint32_t sequence_ = 0;
  Answers answers_;
  std::thread thread_;
};

class RawDevice {
 public:
  RawDevice();
  ~RawDevice();
  RawDevice(const RawDevice&) = delete;
  RawDevice& operator=(const RawDevice&) = delete;

  Answers& Prepared() { return answers_; }
  int Descriptor() const { return ends_[0]; }

 private:
  int ends_[2] = {-1, -1};
  Answers answers_;
  std::thread thread_;
};

}  // namespace bench_device
