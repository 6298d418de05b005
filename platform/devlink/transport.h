// Transport: one open endpoint, a stream of bytes each way; TransportOpener: the way to get one.
//
// A kind of endpoint is one opener; which there are stands in MakeOpener of the system's own file.
// The rest of the link knows only what stands here.
//
// Threads: everything on the link's thread, except Write and Writable (any thread, one at a time)
// and WakeWriter (any thread). Owns its handles until it is destroyed. Handlers run on the link's
// thread and never after End. Errors: an open that fails says why in one line; Read answers 0 bytes
// when the stream has ended.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/devlink/endpoint.h"
#include "platform/devlink/frame_head.h"
#include "platform/devlink/link_timing.h"

namespace asio {
class io_context;
}

namespace devlink {

enum class WriteOutcome { kWritten, kTimedOut, kBroken };

// Bytes to and from a device, whatever carries them.
class Transport {
 public:
  using ReadHandler = std::function<void(std::size_t lengthBytes)>;
  // Asked again and again while End waits; false cuts the wait short.
  using KeepWaiting = std::function<bool()>;

  virtual ~Transport() = default;

  // One read of at most the buffer's length; the buffer lives until the handler ran or End was
  // called.
  virtual void Read(std::span<std::uint8_t> buffer, ReadHandler handler) = 0;
  // Whether a read would find something at once.
  virtual bool Readable() = 0;

  // Writes everything or fails; after a failure nothing more may be written.
  virtual WriteOutcome Write(std::span<const std::uint8_t> bytes,
                             LinkClock::time_point deadline) = 0;
  // How much of a message goes into one frame: on a slow line less than the wire allows, so that a
  // keep-alive need not wait long for its turn.
  virtual std::size_t LargestPayloadBytes() const { return kMaxPayloadBytes; }
  // Whether a write would take something at once.
  virtual bool Writable() = 0;
  // Makes a Write that waits, and every later one that would wait, answer kBroken.
  virtual void WakeWriter() noexcept = 0;

  // Closes the endpoint; a child process is waited for, then killed. Answers how the other side
  // ended, one line, empty when there is nothing to say of it.
  virtual std::string End(const KeepWaiting& keepWaiting) = 0;
};

// Makes the transport that an endpoint asks for.
class TransportOpener {
 public:
  using Handler = std::function<void(std::unique_ptr<Transport> transport, std::string problem)>;

  // Destroying an opener gives up what it has under way.
  virtual ~TransportOpener() = default;
  // Calls the handler once, maybe before it returns.
  virtual void Open(Handler handler) = 0;
};

// A line (without its end) that a child process wrote to its standard error.
using ErrorLineHandler = std::function<void(std::string_view line)>;

std::unique_ptr<TransportOpener> MakeOpener(asio::io_context& io, const Endpoint& endpoint,
                                            ErrorLineHandler errorLine);

}  // namespace devlink
