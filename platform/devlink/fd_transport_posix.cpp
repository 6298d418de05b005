#include "platform/devlink/fd_transport_posix.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <time.h>

#include <algorithm>
#include <asio/buffer.hpp>
#include <asio/error.hpp>
#include <cerrno>
#include <system_error>

namespace devlink {

namespace {

// Keeps SIGPIPE from the process while one thread writes to a pipe whose other end may be closed.
// (Sockets have a flag for that, pipes do not, and the process's handling of signals is the
// host's.)
class SigpipeGuard {
 public:
  SigpipeGuard() noexcept {
    sigemptyset(&sigpipe_);
    sigaddset(&sigpipe_, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &sigpipe_, &before_);
    // One that was not blocked has been delivered.
    if (sigismember(&before_, SIGPIPE) != 1) return;
    sigset_t pending;
    sigpending(&pending);
    wasPending_ = sigismember(&pending, SIGPIPE) == 1;
  }
  ~SigpipeGuard() {
    const int error = errno;
    if (raised_ && !wasPending_) {
      const timespec now = {0, 0};
      while (sigtimedwait(&sigpipe_, nullptr, &now) == -1 && errno == EINTR) {
      }
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
    errno = error;
  }
  SigpipeGuard(const SigpipeGuard&) = delete;
  SigpipeGuard& operator=(const SigpipeGuard&) = delete;

  void Raised() noexcept { raised_ = true; }

 private:
  sigset_t sigpipe_;
  sigset_t before_;
  bool wasPending_ = false;
  bool raised_ = false;
};

void SetNonBlocking(int fd) { ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK); }

bool PollNow(int fd, short events) {
  pollfd entry = {fd, events, 0};
  return ::poll(&entry, 1, 0) == 1;
}

int MillisecondsUntil(LinkClock::time_point deadline) {
  const auto left = std::chrono::ceil<Milliseconds>(deadline - LinkClock::now()).count();
  return static_cast<int>(std::clamp<decltype(left)>(left, 0, 60'000));
}

}  // namespace

std::string SystemProblem(std::string what, int errorNumber) {
  return std::move(what) + ": " + std::system_category().message(errorNumber);
}

FdTransport::FdTransport(asio::io_context& io, UniqueFd socket) : reader_(io) {
  SetNonBlocking(socket.Get());
  reader_.assign(socket.Get());  // may find no memory
  socket.Release();
  MakeWakePipe();
}

FdTransport::FdTransport(asio::io_context& io, UniqueFd readEnd, UniqueFd writeEnd)
    : reader_(io), writeEnd_(std::move(writeEnd)) {
  SetNonBlocking(readEnd.Get());
  SetNonBlocking(writeEnd_.Get());
  reader_.assign(readEnd.Get());
  readEnd.Release();
  MakeWakePipe();
}

// Without one (no descriptors left) a writer that waits ends by its deadline.
void FdTransport::MakeWakePipe() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return;
  wakeRead_.Reset(ends[0]);
  wakeWrite_.Reset(ends[1]);
}

void FdTransport::Read(std::span<std::uint8_t> buffer, ReadHandler handler) {
  reader_.async_read_some(
      asio::buffer(buffer.data(), buffer.size()),
      [handler = std::move(handler)](const asio::error_code& error, std::size_t lengthBytes) {
        if (error == asio::error::operation_aborted) return;
        handler(error ? 0 : lengthBytes);
      });
}

bool FdTransport::Readable() { return PollNow(reader_.native_handle(), POLLIN); }

int FdTransport::WriteFd() { return writeEnd_.Valid() ? writeEnd_.Get() : reader_.native_handle(); }

long FdTransport::WriteSome(std::span<const std::uint8_t> bytes) {
  if (!writeEnd_.Valid()) {
    return ::send(reader_.native_handle(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  SigpipeGuard guard;
  const long written = ::write(writeEnd_.Get(), bytes.data(), bytes.size());
  if (written < 0 && errno == EPIPE) guard.Raised();
  return written;
}

WriteOutcome FdTransport::Write(std::span<const std::uint8_t> bytes,
                                LinkClock::time_point deadline) {
  while (!bytes.empty()) {
    const long written = WriteSome(bytes);
    if (written > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(written));
    } else if (written < 0 && errno == EINTR) {
      continue;
    } else if (written < 0 && errno != EAGAIN && errno != EWOULDBLOCK) {
      return WriteOutcome::kBroken;
    } else if (const auto failure = WaitToWrite(deadline)) {
      return *failure;
    }
  }
  return WriteOutcome::kWritten;
}

// Nothing when something can be written now, else why not.
std::optional<WriteOutcome> FdTransport::WaitToWrite(LinkClock::time_point deadline) {
  for (;;) {
    pollfd entries[] = {{WriteFd(), POLLOUT, 0}, {wakeRead_.Get(), POLLIN, 0}};
    const int ready = ::poll(entries, 2, MillisecondsUntil(deadline));
    if (ready < 0 && errno == EINTR) continue;
    if (ready == 0) return WriteOutcome::kTimedOut;
    if (ready < 0 || entries[1].revents != 0) return WriteOutcome::kBroken;
    return std::nullopt;
  }
}

bool FdTransport::Writable() { return PollNow(WriteFd(), POLLOUT); }

void FdTransport::WakeWriter() noexcept {
  const char wake = 0;
  // A full pipe has woken the writer already.
  [[maybe_unused]] const long written = ::write(wakeWrite_.Get(), &wake, 1);
}

std::string FdTransport::End(const KeepWaiting& /*keepWaiting*/) {
  asio::error_code ignored;
  reader_.close(ignored);
  writeEnd_.Reset();
  return {};
}

}  // namespace devlink
