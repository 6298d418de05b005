// HostLookup: the addresses of a host's name, asked for on a thread of its own.
//
// The system's name service cannot be interrupted: it may keep its caller for half a minute. So the
// thread is left alone when nobody wants its answer any more. It shares nothing with the link but
// the record in which it leaves the answer, and ends by itself.
//
// Threads: the link's. Owns its end of the record. Errors: a reason for a person, one line.
#pragma once

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace devlink {

// One question to the name service.
class HostLookup {
 public:
  using Address = asio::ip::tcp::endpoint;
  // No addresses: `problem` says why.
  using Handler = std::function<void(std::vector<Address> addresses, std::string problem)>;

  explicit HostLookup(asio::io_context& io);
  // The handler is not called any more.
  ~HostLookup();

  // Calls the handler once, never before it returns.
  void Start(const std::string& host, std::uint16_t port, Handler handler);

 private:
  struct Answer;
  int StartThread(const std::shared_ptr<Answer>& answer, const std::string& host,
                  std::uint16_t port);

  asio::posix::stream_descriptor answered_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
};

}  // namespace devlink
