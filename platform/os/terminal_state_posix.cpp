#include <poll.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <iterator>
#include <string_view>

#include "platform/os/terminal_state.h"

namespace os {
namespace {

// Written before `isNoted` is set, so that a handler that sees the flag sees the settings.
termios noted;
std::atomic<bool> isNoted{false};

std::atomic<bool> isColoured{false};

constexpr std::string_view kPasteMarksOff = "\x1b[?2004l";
constexpr std::string_view kColoursAndPasteMarksOff = "\x1b[m\x1b[?2004l";

// Whose default action does not end the process, or that cannot be handled. All others do, the
// real-time ones and those of one system alone included.
constexpr int kHarmlessSignals[] = {SIGCHLD, SIGCONT, SIGKILL, SIGSTOP, SIGTSTP,
                                    SIGTTIN, SIGTTOU, SIGURG,  SIGWINCH};

bool EndsProcess(int number) {
  return std::find(std::begin(kHarmlessSignals), std::end(kHarmlessSignals), number) ==
         std::end(kHarmlessSignals);
}

void RestoreAndEnd(int number) {
  RestoreTerminal();
  ::raise(number);  // whose default action is back by now
}

// Leaves those alone that somebody handles already; the thread library's own are refused.
void HandleWhereFree(int number) {
  struct sigaction action = {};
  if (::sigaction(number, nullptr, &action) != 0 || action.sa_handler != SIG_DFL) return;
  action = {};
  action.sa_handler = RestoreAndEnd;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESETHAND;
  ::sigaction(number, &action, nullptr);
}

}  // namespace

void NoteTerminal() {
  if (isNoted.load(std::memory_order_relaxed) || ::tcgetattr(STDIN_FILENO, &noted) != 0) return;
  isNoted.store(true, std::memory_order_release);
  for (int number = 1; number <= SIGRTMAX; ++number) {
    if (EndsProcess(number)) HandleWhereFree(number);
  }
}

void RestoreTerminal() noexcept {
  if (!isNoted.load(std::memory_order_acquire)) return;
  const int savedErrno = errno;
  // In the background a change would stop the process instead.
  sigset_t stopping;
  sigset_t before;
  sigemptyset(&stopping);
  sigaddset(&stopping, SIGTTOU);
  ::sigprocmask(SIG_BLOCK, &stopping, &before);
  ::tcsetattr(STDIN_FILENO, TCSANOW, &noted);
  pollfd output = {STDOUT_FILENO, POLLOUT, 0};
  if (::poll(&output, 1, 0) > 0) {
    const std::string_view off =
        isColoured.load(std::memory_order_relaxed) ? kColoursAndPasteMarksOff : kPasteMarksOff;
    [[maybe_unused]] const ssize_t written = ::write(STDOUT_FILENO, off.data(), off.size());
  }
  ::sigprocmask(SIG_SETMASK, &before, nullptr);
  errno = savedErrno;
}

void NoteColours() { isColoured.store(true, std::memory_order_relaxed); }

void KeepQueuesAtSignals() {
  termios settings;
  if (::tcgetattr(STDIN_FILENO, &settings) != 0) return;
  settings.c_lflag |= NOFLSH;
  ::tcsetattr(STDIN_FILENO, TCSADRAIN, &settings);
}

void DropUnreadKeys() { ::tcflush(STDIN_FILENO, TCIFLUSH); }

void ForgetTerminal() { isNoted.store(false, std::memory_order_relaxed); }

}  // namespace os
