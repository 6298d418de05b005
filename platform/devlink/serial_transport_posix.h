// SerialTransport: a transport over a serial port.
//
// Its rate decides how much goes into a frame and how long a write may take beyond its deadline.
//
// Threads and errors: as transport.h says; OpenSerialTransport answers a reason for a person. Owns
// the port.
#pragma once

#include <string>

#include "platform/devlink/fd_transport_posix.h"
#include "platform/devlink/serial_line.h"

namespace devlink {

// A link over a serial port that OpenSerialLine has set.
class SerialTransport : public FdTransport {
 public:
  // Three descriptors of the one port: to read, to write, and to ask how much it has not sent yet.
  SerialTransport(asio::io_context& io, UniqueFd readEnd, UniqueFd writeEnd, UniqueFd control,
                  const Endpoint& endpoint);

  // As FdTransport, but time that the bytes need on the line does not count.
  WriteOutcome Write(std::span<const std::uint8_t> bytes, LinkClock::time_point deadline) override;
  std::size_t LargestPayloadBytes() const override;
  // Lets the last bytes out while the caller waits.
  std::string End(const KeepWaiting& keepWaiting) override;

 private:
  Milliseconds TimeOf(std::size_t lengthBytes) const;

  const std::string path_;
  const std::uint32_t baud_;
  UniqueFd control_;
};

// Null: `problem` says why.
std::unique_ptr<Transport> OpenSerialTransport(asio::io_context& io, const Endpoint& endpoint,
                                               std::string& problem);

}  // namespace devlink
