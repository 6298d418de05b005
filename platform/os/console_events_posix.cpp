#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/os/console_events.h"
#include "platform/os/descriptor.h"
#include "platform/os/terminal_state.h"

namespace os {
namespace {

// What a signal handler may touch: flags, and the write end of the wake-up pipe.
std::atomic<bool> interrupted{false};
std::atomic<bool> terminated{false};
std::atomic<bool> hurried{false};  // by either, until it is forgotten
std::atomic<bool> resized{false};
std::atomic<bool> suspended{false};
std::atomic<bool> resumed{false};
std::atomic<int> wakeDescriptor{-1};

void WakeThrough(int descriptor) {
  const int savedErrno = errno;
  const char byte = 0;
  // A full pipe already wakes the reader.
  [[maybe_unused]] const ssize_t written = ::write(descriptor, &byte, 1);
  errno = savedErrno;
}

void OnSignal(int number) {
  (number == SIGINT ? interrupted : terminated).store(true, std::memory_order_relaxed);
  hurried.store(true, std::memory_order_relaxed);
  WakeThrough(wakeDescriptor.load(std::memory_order_relaxed));
}

void OnTerminalSignal(int number) {
  (number == SIGWINCH  ? resized
   : number == SIGTSTP ? suspended
                       : resumed)
      .store(true, std::memory_order_relaxed);
  WakeThrough(wakeDescriptor.load(std::memory_order_relaxed));
}

// What asks for the end. SIGQUIT too: what the user has typed is saved at an orderly end only.
constexpr int kEndSignals[] = {SIGTERM, SIGHUP, SIGQUIT};
constexpr int kTerminalSignals[] = {SIGWINCH, SIGTSTP, SIGCONT};

void Handle(int number, void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  ::sigaction(number, &action, nullptr);
}

using Clock = std::chrono::steady_clock;

// So long after a signal writes still wait for a reader.
constexpr std::chrono::milliseconds kPatience{500};
// A signal may be handled by another thread, which ends no wait of this one.
constexpr int kLookAgainMs = 50;
// A pipe of which poll says that it has room takes so many at once.
constexpr std::size_t kSureBytes = PIPE_BUF;

// When the patience of writes ends; of the thread that writes.
std::optional<Clock::time_point> patienceEnd;

bool IsPatient() {
  if (!hurried.load(std::memory_order_relaxed)) {
    patienceEnd.reset();
    return true;
  }
  if (!patienceEnd) patienceEnd = Clock::now() + kPatience;
  return Clock::now() < *patienceEnd;
}

// Whether kSureBytes can be written, or a fault told, without waiting.
bool WaitForRoom(int descriptor, Clock::time_point end) {
  pollfd ready = {descriptor, POLLOUT, 0};
  for (;;) {
    const bool patient = IsPatient() && Clock::now() < end;
    if (::poll(&ready, 1, patient ? kLookAgainMs : 0) > 0) return true;
    if (!patient) return false;
  }
}

// A terminal says that it has room and then waits for more of it: it is written through an opening
// of its own, which does not wait and which nobody else shares. Where that is refused, as it is.
int WaitingNever(int descriptor) {
  static int opened[STDERR_FILENO + 1] = {-1, -1, -1};
  static bool tried[STDERR_FILENO + 1] = {};
  if (!tried[descriptor]) {
    tried[descriptor] = true;
    if (::isatty(descriptor) == 1) {
      const std::string path = "/proc/self/fd/" + std::to_string(descriptor);
      opened[descriptor] = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    }
  }
  return opened[descriptor] >= 0 ? opened[descriptor] : descriptor;
}

// In pieces that a pipe with any room takes whole, so that no write blocks for want of a reader.
// Waits for one until `end`; `bytes` is then what was not written.
Written WriteAll(int standard, std::string_view& bytes, Clock::time_point end) {
  const int descriptor = WaitingNever(standard);
  while (!bytes.empty()) {
    if (!WaitForRoom(descriptor, end)) return Written::kGivenUp;
    const ssize_t written =
        ::write(descriptor, bytes.data(), std::min<std::size_t>(bytes.size(), kSureBytes));
    if (written > 0) {
      bytes.remove_prefix(static_cast<std::size_t>(written));
    } else if (written == 0 || (errno != EINTR && errno != EAGAIN && errno != EWOULDBLOCK)) {
      return Written::kFailed;
    } else if (errno != EINTR) {
      // Room for less than a character and what the terminal adds to it.
      if (!IsPatient() || Clock::now() >= end) return Written::kGivenUp;
      ::poll(nullptr, 0, 1);
    }
  }
  return Written::kAll;
}

// So long a notice waits for its reader. One that reads slowly is in time; one that does not read
// at all costs this once, since those behind a dropped notice do not wait.
constexpr std::chrono::milliseconds kNoticePatience{1000};

// Notices that were dropped and not told yet; of the thread that writes.
struct Dropped {
  std::uint64_t count = 0;
  bool isCut = false;  // the first of them stands there in part
};
Dropped dropped;

std::string DroppedText() {
  const std::string count = std::to_string(dropped.count);
  const std::string noun = dropped.count == 1 ? " notice was" : " notices were";
  return (dropped.isCut ? "\n" : "") + std::string(program_invocation_short_name) + ": " + count +
         noun + " dropped, since nobody read standard error\n";
}

// On a terminal the user may have stopped the output and will let it go on.
Clock::time_point NoticeEnd() {
  if (dropped.count > 0) return Clock::now();
  return ::isatty(STDERR_FILENO) == 1 ? Clock::time_point::max() : Clock::now() + kNoticePatience;
}

}  // namespace

ConsoleEvents::ConsoleEvents() {
  int ends[2];
  if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) == 0) {
    wakeRead_ = ends[0];
    wakeWrite_ = ends[1];
  }
  wakeDescriptor.store(wakeWrite_, std::memory_order_relaxed);
  Handle(SIGINT, OnSignal);
  for (const int number : kEndSignals) Handle(number, OnSignal);
  Handle(SIGPIPE, SIG_IGN);
}

ConsoleEvents::~ConsoleEvents() {
  Handle(SIGINT, SIG_DFL);
  for (const int number : kEndSignals) Handle(number, SIG_DFL);
  for (const int number : kTerminalSignals) Handle(number, SIG_DFL);
  wakeDescriptor.store(-1, std::memory_order_relaxed);
  if (wakeRead_ >= 0) ::close(wakeRead_);
  if (wakeWrite_ >= 0) ::close(wakeWrite_);
}

ConsoleEvents::Ready ConsoleEvents::Wait(int timeoutMs, bool withInput) {
  pollfd watched[2] = {{wakeRead_, POLLIN, 0}, {withInput ? STDIN_FILENO : -1, POLLIN, 0}};
  ::poll(watched, 2, timeoutMs);
  Ready ready;
  ready.input = (watched[1].revents & (POLLIN | POLLHUP | POLLERR | POLLNVAL)) != 0;
  char drained[64];
  while (::read(wakeRead_, drained, sizeof drained) > 0) ready.woken = true;
  ready.interrupt = interrupted.exchange(false, std::memory_order_relaxed);
  ready.terminate = terminated.load(std::memory_order_relaxed);
  ready.resized = resized.exchange(false, std::memory_order_relaxed);
  ready.suspend = suspended.exchange(false, std::memory_order_relaxed);
  ready.resumed = resumed.exchange(false, std::memory_order_relaxed);
  return ready;
}

void ConsoleEvents::WatchTerminal() {
  for (const int number : kTerminalSignals) Handle(number, OnTerminalSignal);
}

void ConsoleEvents::Suspend() {
  Handle(SIGTSTP, SIG_DFL);
  ::kill(::getpid(), SIGTSTP);
  Handle(SIGTSTP, OnTerminalSignal);
  resumed.store(false, std::memory_order_relaxed);
}

void ConsoleEvents::Wake() { WakeThrough(wakeWrite_); }

void ConsoleEvents::ForgetInterrupt() {
  if (!terminated.load(std::memory_order_relaxed)) hurried.store(false, std::memory_order_relaxed);
}

bool ConsoleEvents::ReadInput(std::string& bytes) {
  char block[16384];
  const ssize_t got = ::read(STDIN_FILENO, block, sizeof block);
  if (got > 0) {
    bytes.append(block, static_cast<std::size_t>(got));
    return true;
  }
  if (got == 0) return false;
  if (errno == EINTR || errno == EAGAIN || errno == EWOULDBLOCK) return true;
  inputError_ = errno;
  return false;
}

bool ConsoleEvents::InputIsTerminal() { return ::isatty(STDIN_FILENO) == 1; }
bool ConsoleEvents::OutputIsTerminal() { return ::isatty(STDOUT_FILENO) == 1; }
bool ConsoleEvents::ErrorIsTerminal() { return ::isatty(STDERR_FILENO) == 1; }

int ConsoleEvents::ErrorColumns() {
  winsize size = {};
  return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

TerminalSize ConsoleEvents::OutputSize() {
  winsize size = {};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0) return {0, 0};
  return {size.ws_row, size.ws_col};
}

void FillStandardDescriptors() {
  for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
    if (::fcntl(descriptor, F_GETFD) >= 0) continue;
    // The lowest free number is the missing one, since those below it are filled by now. The wrong
    // way round: input cannot be read, and output fails instead of getting lost.
    const int way = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    [[maybe_unused]] const int opened = ::open("/dev/null", way);
  }
}

void LetLongWritesFail() { Handle(SIGXFSZ, SIG_IGN); }

bool CanOpen(int countFiles) {
  if (countFiles == 0) return true;
  const Descriptor one(::open("/dev/null", O_RDONLY | O_CLOEXEC));
  return one.isOpen() && CanOpen(countFiles - 1);
}

Written WriteOut(std::string_view bytes) {
  return WriteAll(STDOUT_FILENO, bytes, Clock::time_point::max());
}

Written WriteErr(std::string_view bytes) {
  const Clock::time_point end = NoticeEnd();
  const std::string lead = dropped.count > 0 ? DroppedText() : std::string();
  std::string_view rest = lead;
  Written written = WriteAll(STDERR_FILENO, rest, end);
  if (written == Written::kAll) {
    if (!lead.empty()) dropped = {};
    rest = bytes;
    written = WriteAll(STDERR_FILENO, rest, end);
    if (written == Written::kGivenUp) dropped.isCut = rest.size() < bytes.size();
  }
  if (written == Written::kGivenUp) ++dropped.count;
  return written;
}

void ExitNow(int status) {
  RestoreTerminal();
  ::_exit(status);
}

}  // namespace os
