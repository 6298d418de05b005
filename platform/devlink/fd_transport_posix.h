// FdTransport: a transport over file descriptors: a socket, or the two ends of a pair of pipes.
//
// Threads and errors: as transport.h says.
// Owns the descriptors. They are made non-blocking.
#pragma once

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>

#include <optional>

#include "platform/devlink/transport.h"
#include "platform/devlink/unique_fd_posix.h"

namespace devlink {

// A link over descriptors: a socket, or a pair of pipes.
class FdTransport : public Transport {
 public:
  // A connected socket.
  FdTransport(asio::io_context& io, UniqueFd socket);
  // What is read from, what is written to.
  FdTransport(asio::io_context& io, UniqueFd readEnd, UniqueFd writeEnd);

  void Read(std::span<std::uint8_t> buffer, ReadHandler handler) override;
  bool Readable() override;
  WriteOutcome Write(std::span<const std::uint8_t> bytes, LinkClock::time_point deadline) override;
  bool Writable() override;
  void WakeWriter() noexcept override;
  std::string End(const KeepWaiting& keepWaiting) override;

 private:
  void MakeWakePipe();
  int WriteFd();
  long WriteSome(std::span<const std::uint8_t> bytes);
  std::optional<WriteOutcome> WaitToWrite(LinkClock::time_point deadline);

  asio::posix::stream_descriptor reader_;
  UniqueFd writeEnd_;  // unset: a socket, written through the descriptor that is read
  UniqueFd wakeRead_;
  UniqueFd wakeWrite_;
};

// "what: the system's reason", for a problem text.
std::string SystemProblem(std::string what, int errorNumber);

}  // namespace devlink
