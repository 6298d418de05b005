#include "platform/devlink/serial_transport_posix.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>

namespace devlink {

namespace {

// A start bit, eight of data, a stop bit.
constexpr std::uint64_t kBitsOfByte = 10;
// One frame keeps the line busy for at most so long, unless it is shorter than the other limit.
constexpr std::uint64_t kFrameMs = 500;
constexpr std::uint64_t kSmallestCutBytes = 256;
constexpr int kAskAgainMs = 5;
// How long the last bytes may stand still before they are given up.
constexpr Milliseconds kDrainPatience{50};

UniqueFd Duplicate(const UniqueFd& fd) { return UniqueFd(::fcntl(fd.Get(), F_DUPFD_CLOEXEC, 0)); }

// Until everything has gone out, nothing more does, or the caller has no time.
void Drain(int line, const Transport::KeepWaiting& keepWaiting) {
  std::size_t left = QueuedBytes(line);
  auto moved = LinkClock::now();
  while (left > 0 && LinkClock::now() - moved < kDrainPatience && keepWaiting()) {
    ::poll(nullptr, 0, kAskAgainMs);
    const std::size_t now = QueuedBytes(line);
    if (now < left) moved = LinkClock::now();
    left = now;
  }
}

}  // namespace

SerialTransport::SerialTransport(asio::io_context& io, UniqueFd readEnd, UniqueFd writeEnd,
                                 UniqueFd control, const Endpoint& endpoint)
    : FdTransport(io, std::move(readEnd), std::move(writeEnd)),
      path_(endpoint.path),
      baud_(endpoint.baud),
      control_(std::move(control)) {}

Milliseconds SerialTransport::TimeOf(std::size_t lengthBytes) const {
  return Milliseconds(std::uint64_t{lengthBytes} * kBitsOfByte * 1000 / baud_);
}

WriteOutcome SerialTransport::Write(std::span<const std::uint8_t> bytes,
                                    LinkClock::time_point deadline) {
  const std::size_t ahead = QueuedBytes(control_.Get());
  return FdTransport::Write(bytes, deadline + TimeOf(ahead + bytes.size()));
}

std::size_t SerialTransport::LargestPayloadBytes() const {
  return std::clamp<std::uint64_t>(baud_ / kBitsOfByte * kFrameMs / 1000, kSmallestCutBytes,
                                   kMaxPayloadBytes);
}

std::string SerialTransport::End(const KeepWaiting& keepWaiting) {
  Drain(control_.Get(), keepWaiting);
  ReleaseLine(control_.Get());
  FdTransport::End(keepWaiting);
  control_.Reset();
  return "\"" + path_ + "\" was unplugged or hung up";
}

std::unique_ptr<Transport> OpenSerialTransport(asio::io_context& io, const Endpoint& endpoint,
                                               std::string& problem) {
  UniqueFd line = OpenSerialLine(endpoint, problem);
  if (!line.Valid()) return nullptr;
  UniqueFd readEnd = Duplicate(line);
  UniqueFd writeEnd = Duplicate(line);
  if (!readEnd.Valid() || !writeEnd.Valid()) {
    problem = SystemProblem("cannot open \"" + endpoint.text + "\"", errno);
    ReleaseLine(line.Get());
    return nullptr;
  }
  return std::make_unique<SerialTransport>(io, std::move(readEnd), std::move(writeEnd),
                                           std::move(line), endpoint);
}

}  // namespace devlink
