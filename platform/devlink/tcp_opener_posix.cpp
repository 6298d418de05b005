#include "platform/devlink/tcp_opener_posix.h"

#include <sys/socket.h>

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>
#include <cerrno>

#include "platform/devlink/fd_transport_posix.h"
#include "platform/devlink/host_lookup_posix.h"
#include "platform/devlink/token.h"

namespace devlink {

// One attempt to connect. What it has under way shares it, so that a handler that comes late finds
// an attempt that is over and not a dead one.
class TcpOpener::Attempt : public std::enable_shared_from_this<Attempt> {
 public:
  Attempt(asio::io_context& io, const Endpoint& endpoint)
      : io_(io), endpoint_(endpoint), socket_(io), timer_(io), lookup_(io) {}

  void Start(Handler handler);
  // Nothing is told any more.
  void GiveUp();

 private:
  using Address = HostLookup::Address;

  void Find();
  void TryNext();
  bool MakeSocket(const Address& address);
  void Connected(const asio::error_code& error);
  bool IsItself();
  std::unique_ptr<Transport> MakeTransport();
  void SetTimer(LinkClock::duration wait, void (Attempt::*run)());
  void LookupOverdue();
  void AddressOverdue();
  void Failed(const std::string& reason) { problem_ = what_ + ": " + reason; }
  void Finish(std::unique_ptr<Transport> transport);

  asio::io_context& io_;
  const Endpoint endpoint_;
  const std::string what_ = "cannot connect to \"" + endpoint_.text + "\"";
  Handler handler_;
  std::string token_;
  Milliseconds wait_{0};
  LinkClock::time_point deadline_{};
  std::vector<Address> addresses_;  // those not tried yet, the next one last
  asio::ip::tcp::socket socket_;
  asio::steady_timer timer_;
  HostLookup lookup_;
  std::uint64_t step_ = 0;  // a handler of an earlier step does nothing
  std::string problem_;
};

void TcpOpener::Attempt::Start(Handler handler) {
  handler_ = std::move(handler);
  wait_ = GetLinkTiming().connectWait;
  deadline_ = LinkClock::now() + wait_;
  if (!endpoint_.tokenFile.empty()) {
    token_ = ReadTokenFile(endpoint_.tokenFile, problem_);
    if (token_.empty()) return Finish(nullptr);
  }
  Find();
}

void TcpOpener::Attempt::GiveUp() {
  ++step_;
  handler_ = nullptr;
  asio::error_code ignored;
  socket_.close(ignored);
  timer_.cancel();
}

void TcpOpener::Attempt::Find() {
  asio::error_code noNumber;
  const auto number = asio::ip::make_address(endpoint_.host, noNumber);
  if (!noNumber) {
    addresses_.emplace_back(number, endpoint_.port);
    return TryNext();
  }
  const std::uint64_t step = ++step_;
  SetTimer(wait_, &Attempt::LookupOverdue);
  lookup_.Start(endpoint_.host, endpoint_.port,
                [self = weak_from_this(), step](std::vector<Address> found, std::string problem) {
                  const auto attempt = self.lock();
                  if (attempt == nullptr || step != attempt->step_) return;
                  if (found.empty()) {
                    attempt->problem_ = std::move(problem);
                    return attempt->Finish(nullptr);
                  }
                  attempt->addresses_.assign(found.rbegin(), found.rend());
                  attempt->TryNext();
                });
}

void TcpOpener::Attempt::LookupOverdue() {
  problem_ = "cannot find the host \"" + endpoint_.host +
             "\": the name service did not answer in " + SecondsText(wait_);
  Finish(nullptr);
}

// An address that does not answer leaves their share of the time to those behind it.
void TcpOpener::Attempt::TryNext() {
  while (!addresses_.empty()) {
    const auto share =
        (deadline_ - LinkClock::now()) / static_cast<LinkClock::rep>(addresses_.size());
    const Address address = addresses_.back();
    addresses_.pop_back();
    const std::uint64_t step = ++step_;
    if (!MakeSocket(address)) continue;
    SetTimer(share, &Attempt::AddressOverdue);
    socket_.async_connect(address,
                          [self = shared_from_this(), step](const asio::error_code& error) {
                            if (step == self->step_) self->Connected(error);
                          });
    return;
  }
  Finish(nullptr);
}

// A socket that no child inherits.
bool TcpOpener::Attempt::MakeSocket(const Address& address) {
  asio::error_code ignored;
  socket_.close(ignored);
  UniqueFd socket(::socket(address.protocol().family(), SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK,
                           IPPROTO_TCP));
  asio::error_code error;
  if (socket.Valid()) {
    socket_.assign(address.protocol(), socket.Get(), error);
  } else {
    error.assign(errno, asio::error::get_system_category());
  }
  if (!error) socket.Release();
  if (error) Failed(error.message());
  return !error;
}

void TcpOpener::Attempt::AddressOverdue() {
  Failed("no answer in " + SecondsText(wait_));
  TryNext();
}

void TcpOpener::Attempt::Connected(const asio::error_code& error) {
  if (error || IsItself()) {
    Failed(error ? error.message() : "nothing listens there");
    return TryNext();
  }
  auto transport = MakeTransport();
  if (transport == nullptr) return TryNext();
  Finish(std::move(transport));
}

// Of a port on this machine that nobody listens on, the system may take the number for our own end
// and connect the socket with itself. It would stay so, and keep the agent from its port.
bool TcpOpener::Attempt::IsItself() {
  asio::error_code error;
  return socket_.local_endpoint(error) == socket_.remote_endpoint(error) && !error;
}

std::unique_ptr<Transport> TcpOpener::Attempt::MakeTransport() {
  asio::error_code error;
  socket_.set_option(asio::ip::tcp::no_delay(true), error);
  UniqueFd socket(socket_.release(error));
  if (!token_.empty()) {
    // A new connection takes so few bytes at once.
    const auto bytes = TokenPreamble(token_);
    const long sent = ::send(socket.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent != static_cast<long>(bytes.size())) {
      Failed("the token cannot be sent: " + std::system_category().message(sent < 0 ? errno : 0));
      return nullptr;
    }
  }
  return std::make_unique<FdTransport>(io_, std::move(socket));
}

void TcpOpener::Attempt::SetTimer(LinkClock::duration wait, void (Attempt::*run)()) {
  timer_.expires_after(wait);
  timer_.async_wait([self = weak_from_this(), step = step_, run](const asio::error_code& error) {
    const auto attempt = self.lock();
    if (!error && attempt != nullptr && step == attempt->step_) ((*attempt).*run)();
  });
}

void TcpOpener::Attempt::Finish(std::unique_ptr<Transport> transport) {
  const Handler handler = std::move(handler_);
  const std::string problem = transport == nullptr ? std::move(problem_) : "";
  GiveUp();
  handler(std::move(transport), problem);
}

TcpOpener::TcpOpener(asio::io_context& io, const Endpoint& endpoint)
    : attempt_(std::make_shared<Attempt>(io, endpoint)) {}

TcpOpener::~TcpOpener() { attempt_->GiveUp(); }

void TcpOpener::Open(Handler handler) {
  // The handler may destroy this opener.
  const std::shared_ptr<Attempt> attempt = attempt_;
  attempt->Start(std::move(handler));
}

}  // namespace devlink
