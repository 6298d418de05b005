// StopRequests: what the user asked for by Ctrl-C and by signals, noted wherever the console looks.
//
// Threads: the main thread. Borrows the events.
#pragma once

#include <string>

#include "platform/os/console_events.h"

namespace kiv {

// An interrupt holds until it is forgotten, a request to end for ever.
class StopRequests {
 public:
  explicit StopRequests(os::ConsoleEvents& events) : events_(events) {}

  // Waits at most `timeoutMs` (negative: without end) and notes what was asked for.
  os::ConsoleEvents::Ready Wait(int timeoutMs, bool withInput) {
    const os::ConsoleEvents::Ready ready = events_.Wait(timeoutMs, withInput);
    if (ready.interrupt) interrupted_ = true;
    if (ready.terminate) ended_ = true;
    return ready;
  }
  // Notes it without waiting; a wake-up from another thread stays to be seen.
  void Look() {
    if (Wait(0, false).woken) events_.Wake();
  }

  bool ReadInput(std::string& bytes) { return events_.ReadInput(bytes); }
  // Ctrl-Z: returns when the process is continued.
  void Suspend() { events_.Suspend(); }

  bool IsInterrupted() const { return interrupted_; }
  bool HasEnded() const { return ended_; }
  bool IsAny() const { return interrupted_ || ended_; }
  void ForgetInterrupt() {
    interrupted_ = false;
    events_.ForgetInterrupt();
  }

 private:
  os::ConsoleEvents& events_;
  bool interrupted_ = false;
  bool ended_ = false;
};

}  // namespace kiv
