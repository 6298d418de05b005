// Console: the terminal program around the module. It reads lines, has them run one after the other
// on the facade's thread, and ends with the status of the run.
//
//   line_source, screen     what is typed, and where bytes go
//   display                 what is shown, in order
//   event_pump              waiting: texts to the display, news into a record
//   line_runner             one line of the module's: reply, answer, status
//   console_words           the console's own words
//
// Standard output gets what the module answers, and what the console's own words answer; notices go
// to standard error.
//
// Threads: everything here runs on the main thread.
// Owns the queue, the watch and the facade's thread.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "hosts/terminal/change_notes.h"
#include "hosts/terminal/command_help.h"
#include "hosts/terminal/console_completion.h"
#include "hosts/terminal/console_options.h"
#include "hosts/terminal/console_words.h"
#include "hosts/terminal/display.h"
#include "hosts/terminal/event_pump.h"
#include "hosts/terminal/facade_thread.h"
#include "hosts/terminal/line_runner.h"
#include "hosts/terminal/line_timing.h"
#include "hosts/terminal/link_watch.h"
#include "hosts/terminal/screen.h"
#include "hosts/terminal/stop_requests.h"
#include "hosts/terminal/view_queue.h"
#include "platform/os/console_events.h"

namespace kiv {

// One run of the program, from the first line to the exit status.
class Console {
 public:
  // The bench setup must have been set from the options.
  explicit Console(ConsoleOptions options);

  // Runs until the lines are used up or the user ends it; answers the process's exit status.
  int Run();

 private:
  // Hands out the next line; false when there is none yet.
  using NextLine = std::function<bool(LineSource::Line&)>;

  int RunBatch();
  // The lines of standard input; `status` is that of the lines before them.
  int RunInput(int status);
  int RunInteractive();
  // False when it did not come up, or the user did not want to wait; it is told.
  bool WaitForLink();
  // Runs the lines that are there; false when the console is to end. `status` is that of the first
  // line that was not answered with success.
  bool RunLines(const NextLine& next, int& status);
  bool RunLines(LineSource& source, int& status);
  // The settings are there, or are other ones.
  void DrawBy(const ConsoleSettings& settings);
  int RunTyped(const LineSource::Line& line);
  bool Ended() const { return stops_.HasEnded() || context_.quit || screen_->IsOutputGone(); }
  // Whether the terminal of an interactive run was closed; the same end as by a signal.
  bool IsTerminalGone() const;
  int EndStatus(int status) const { return stops_.IsAny() ? kInterrupted : status; }

  const ConsoleOptions options_;
  const bool interactive_;
  const bool drawsOnTerminal_;  // an interactive one; at the start
  const std::string endpoint_;
  os::ConsoleEvents events_;
  StopRequests stops_;
  const std::unique_ptr<Screen> screen_;
  Display display_;
  ViewQueue queue_;
  FacadeThread facade_;
  LinkWatch watch_;
  EventPump pump_;
  CommandHelp help_;
  LineRunner runner_;
  ChangeNotes changes_;
  LineTiming timing_;
  ConsoleContext context_;
  ConsoleCompletion completion_;
};

}  // namespace kiv
