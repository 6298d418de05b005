// DeviceDoor: where a test's device waits for its host: a Unix socket, a TCP port, a pair of
// pseudo-terminals.
//
// Threads: Accept and Close on the device's thread. Owns what it listens on. Errors: throws when
// the system gives none.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace linktest {

class DeviceDoor {
 public:
  // The device's end of a connection; a socket has the same descriptor twice.
  struct Ends {
    int readFd;
    int writeFd;
  };

  virtual ~DeviceDoor() = default;
  // Nothing when `stopFd` has something to read.
  virtual std::optional<Ends> Accept(int stopFd) = 0;
  virtual void Close(const Ends& ends) = 0;
  // What a host writes to get here.
  virtual std::string Endpoint() const = 0;
};

std::unique_ptr<DeviceDoor> MakeUnixDoor(const std::string& path);
// On 127.0.0.1; port 0 takes any.
std::unique_ptr<DeviceDoor> MakeTcpDoor(std::uint16_t port = 0);
// A path that is there while the device is, as that of a USB port: each connection is a new pair of
// pseudo-terminals, whose host's end stands at `path`.
std::unique_ptr<DeviceDoor> MakePtyDoor(const std::string& path, const std::string& options = "");

}  // namespace linktest
