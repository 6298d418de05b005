// ConsoleEvents: what a terminal program waits for, in one place: typed input, a wake-up from
// another thread, an interrupt (Ctrl-C), a request to end, and what happens to a terminal.
//
// Threads: one object a process, made before any other thread is started (it takes the signals
// over). Wait and ReadInput belong to the thread that made it; Wake may be called from any thread.
// Owns its wake-up pipe; standard input stays the process's.
// Errors: input that cannot be read counts as its end.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/platform_export.h"

namespace os {

// Of a terminal's window, in characters.
struct TerminalSize {
  int rows;
  int columns;
};

// Takes the process's signals over while it lives.
class KIVPLATFORM_API ConsoleEvents {
 public:
  // What happened since the last Wait.
  struct Ready {
    bool input = false;  // ReadInput will not block
    bool woken = false;
    bool interrupt = false;  // Ctrl-C since the last Wait
    bool terminate = false;  // asked to end; stays set
    // Only when WatchTerminal was called:
    bool resized = false;
    bool suspend = false;  // Ctrl-Z: Suspend is to be called
    bool resumed = false;  // stopped and continued by somebody else
  };

  ConsoleEvents();
  ~ConsoleEvents();
  ConsoleEvents(const ConsoleEvents&) = delete;
  ConsoleEvents& operator=(const ConsoleEvents&) = delete;

  // Waits at most `timeoutMs` (negative: without end) for anything above; input only when
  // `withInput`.
  Ready Wait(int timeoutMs, bool withInput);
  void Wake();
  // From now on the program itself answers a change of the terminal's size and Ctrl-Z.
  void WatchTerminal();
  // Stops the process, as Ctrl-Z does where nobody handles it; returns when it is continued.
  void Suspend();
  // A Ctrl-C that Wait has reported is over: writes wait for their reader again.
  void ForgetInterrupt();
  // Appends what is there to `bytes`; false at the end of input, or when it cannot be read.
  bool ReadInput(std::string& bytes);
  // The system's error number when it could not be read, else 0.
  int InputError() const noexcept { return inputError_; }

  static bool InputIsTerminal();
  static bool OutputIsTerminal();
  static bool ErrorIsTerminal();
  // Of the terminal on standard error; 0 where there is none, or it does not say.
  static int ErrorColumns();
  // Of the terminal on standard output; zeros where there is none, or it does not say.
  static TerminalSize OutputSize();

 private:
  int wakeRead_ = -1;
  int wakeWrite_ = -1;
  int inputError_ = 0;
};

// Puts the null device where a standard descriptor is closed, so that no file or socket gets its
// number; what was closed still cannot be read or written. To be called before anything is opened.
KIVPLATFORM_API void FillStandardDescriptors();

// Writing a file beyond the limit on file sizes then fails (EFBIG) instead of ending the process.
KIVPLATFORM_API void LetLongWritesFail();

// Whether so many files can still be opened.
KIVPLATFORM_API bool CanOpen(int countFiles);

// What became of a write.
enum class Written {
  kAll,
  kFailed,   // the other side is gone, or the device is full
  kGivenUp,  // nobody reads, and a signal asked for an end (Wait tells which) or a notice waited
};

// Writes all of it to standard output, whatever the process's locale. Waits for a reader that takes
// its time, but after a signal for at most half a second in all. On the thread of the
// ConsoleEvents, or without one.
KIVPLATFORM_API Written WriteOut(std::string_view bytes);

// Likewise a notice, to standard error, but a notice holds nobody up: unless that is a terminal, it
// is dropped when nobody has read it for a second, and those behind it at once, until there is room
// again. The next that is written says before itself how many were dropped.
KIVPLATFORM_API Written WriteErr(std::string_view bytes);

// Ends the process at once with `status`, without waiting for its threads; a noted terminal
// (terminal_state.h) is restored.
[[noreturn]] KIVPLATFORM_API void ExitNow(int status);

}  // namespace os
