#include "platform/devlink/host_lookup_posix.h"

#include <fcntl.h>
#include <netdb.h>
#include <signal.h>

#include <asio/post.hpp>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <system_error>
#include <thread>

#include "platform/devlink/fd_transport_posix.h"

namespace devlink {

// What the thread found out; a byte in the pipe says that it is there. Both ends of the pipe live
// as long as the thread: its write never meets a closed one.
struct HostLookup::Answer {
  std::mutex mutex;
  std::vector<Address> addresses;
  std::string problem;
  UniqueFd readEnd;
  UniqueFd writeEnd;
};

namespace {

using Address = HostLookup::Address;

std::vector<Address> ToAddresses(const addrinfo* list) {
  std::vector<Address> addresses;
  for (const addrinfo* entry = list; entry != nullptr; entry = entry->ai_next) {
    Address address;
    if (entry->ai_addrlen > address.capacity()) continue;
    std::memcpy(address.data(), entry->ai_addr, entry->ai_addrlen);
    address.resize(entry->ai_addrlen);
    addresses.push_back(address);
  }
  return addresses;
}

// Blocks for as long as the name service does.
std::vector<Address> Ask(const std::string& host, std::uint16_t port, std::string& problem) {
  addrinfo hints = {};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  hints.ai_flags = AI_NUMERICSERV;
  addrinfo* list = nullptr;
  const int error = ::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list);
  if (error != 0) {
    problem = "cannot find the host \"" + host + "\": ";
    problem += error == EAI_SYSTEM ? std::system_category().message(errno) : ::gai_strerror(error);
    return {};
  }
  std::vector<Address> addresses = ToAddresses(list);
  ::freeaddrinfo(list);
  if (addresses.empty()) problem = "the host \"" + host + "\" has no address";
  return addresses;
}

// The host's signals are none of this thread's business.
void BlockSignals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

// 0 or an error number.
int HostLookup::StartThread(const std::shared_ptr<Answer>& answer, const std::string& host,
                            std::uint16_t port) {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return errno;
  answer->readEnd.Reset(ends[0]);
  answer->writeEnd.Reset(ends[1]);
  UniqueFd readEnd(::fcntl(ends[0], F_DUPFD_CLOEXEC, 0));
  if (!readEnd.Valid()) return errno;
  answered_.assign(readEnd.Get());  // may find no memory
  readEnd.Release();
  try {
    std::thread([answer, host, port] {
      BlockSignals();
      std::string problem;
      std::vector<Address> addresses = Ask(host, port, problem);
      {
        const std::lock_guard lock(answer->mutex);
        answer->addresses = std::move(addresses);
        answer->problem = std::move(problem);
      }
      [[maybe_unused]] const long written = ::write(answer->writeEnd.Get(), "", 1);
    }).detach();
  } catch (const std::system_error& failure) {
    return failure.code().value();
  }
  return 0;
}

HostLookup::HostLookup(asio::io_context& io) : answered_(io) {}

HostLookup::~HostLookup() = default;

void HostLookup::Start(const std::string& host, std::uint16_t port, Handler handler) {
  auto answer = std::make_shared<Answer>();
  const int error = StartThread(answer, host, port);
  const auto tell = [answer, handler = std::move(handler), alive = std::weak_ptr(alive_)] {
    if (alive.expired()) return;
    std::unique_lock lock(answer->mutex);
    std::vector<Address> addresses = std::move(answer->addresses);
    std::string problem = std::move(answer->problem);
    lock.unlock();
    handler(std::move(addresses), std::move(problem));
  };
  if (error != 0) {
    answer->problem = SystemProblem("cannot look for the host \"" + host + "\"", error);
    return asio::post(answered_.get_executor(), tell);
  }
  answered_.async_wait(asio::posix::descriptor_base::wait_read,
                       [tell](const asio::error_code& failure) {
                         if (failure != asio::error::operation_aborted) tell();
                       });
}

}  // namespace devlink
