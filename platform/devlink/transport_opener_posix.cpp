// The openers of this system: one for each kind of endpoint.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>

#include "platform/devlink/child_transport_posix.h"
#include "platform/devlink/serial_transport_posix.h"
#include "platform/devlink/tcp_opener_posix.h"

namespace devlink {

namespace {

class ExecOpener : public TransportOpener {
 public:
  ExecOpener(asio::io_context& io, std::vector<std::string> arguments, ErrorLineHandler errorLine)
      : io_(io), arguments_(std::move(arguments)), errorLine_(std::move(errorLine)) {}

  void Open(Handler handler) override {
    ChildProcess process;
    ChildProcess::Pipes pipes;
    std::string problem;
    std::unique_ptr<Transport> transport;
    if (process.Start(arguments_, pipes, problem)) {
      transport =
          std::make_unique<ChildTransport>(io_, std::move(process), std::move(pipes), errorLine_);
    }
    handler(std::move(transport), std::move(problem));
  }

 private:
  asio::io_context& io_;
  std::vector<std::string> arguments_;
  ErrorLineHandler errorLine_;
};

class UnixOpener : public TransportOpener {
 public:
  UnixOpener(asio::io_context& io, std::string path) : io_(io), path_(std::move(path)) {}

  void Open(Handler handler) override {
    std::string problem;
    UniqueFd socket = Connect(problem);
    std::unique_ptr<Transport> transport;
    if (problem.empty()) transport = std::make_unique<FdTransport>(io_, std::move(socket));
    handler(std::move(transport), std::move(problem));
  }

 private:
  // Never blocks: a Unix socket connects at once, or its listener's queue is full and it does not.
  UniqueFd Connect(std::string& problem) const {
    const std::string what = "cannot connect to \"unix:" + path_ + "\"";
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    // What is longer is no endpoint.
    std::memcpy(address.sun_path, path_.data(), std::min(path_.size(), MaxUnixPathBytes()));
    UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.Valid() || ::connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address),
                                     sizeof(address)) != 0) {
      problem = SystemProblem(what, errno);
    }
    return socket;
  }

  asio::io_context& io_;
  std::string path_;
};

class SerialOpener : public TransportOpener {
 public:
  SerialOpener(asio::io_context& io, const Endpoint& endpoint) : io_(io), endpoint_(endpoint) {}

  void Open(Handler handler) override {
    std::string problem;
    auto transport = OpenSerialTransport(io_, endpoint_, problem);
    handler(std::move(transport), std::move(problem));
  }

 private:
  asio::io_context& io_;
  const Endpoint endpoint_;
};

}  // namespace

std::size_t MaxUnixPathBytes() { return sizeof(sockaddr_un{}.sun_path) - 1; }

std::unique_ptr<TransportOpener> MakeOpener(asio::io_context& io, const Endpoint& endpoint,
                                            ErrorLineHandler errorLine) {
  switch (endpoint.kind) {
    case EndpointKind::kExec:
      return std::make_unique<ExecOpener>(io, endpoint.arguments, std::move(errorLine));
    case EndpointKind::kTcp:
      return std::make_unique<TcpOpener>(io, endpoint);
    case EndpointKind::kSerial:
      return std::make_unique<SerialOpener>(io, endpoint);
    default:
      return std::make_unique<UnixOpener>(io, endpoint.path);
  }
}

}  // namespace devlink
