// Console: the terminal program around the module. It reads lines, has them run one after the other
// on the facade's thread, shows replies and what arrives, and works out the status of each line.
//
// Standard output gets what the module answers and nothing else; the console's own notices go to
// standard error.
//
// Threads: everything here runs on the main thread.
// Owns the queue, the watch and the facade's thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "hosts/terminal/console_options.h"
#include "hosts/terminal/facade_thread.h"
#include "hosts/terminal/line_source.h"
#include "hosts/terminal/link_watch.h"
#include "hosts/terminal/text_flow.h"
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
  using Clock = std::chrono::steady_clock;
  // One row of the console's own words, which begin with a colon.
  struct Word {
    const char* name;
    const char* help;
    int (Console::*run)();  // answers the line's status
  };
  static const Word kWords[];

  int RunBatch();
  int RunInteractive();
  // Not now, but then, or when more arrives; unset: now, or it is there already.
  std::optional<Clock::time_point> WhenToPrompt() const;
  void ForgetInterrupt();
  bool WaitForLink();
  std::chrono::milliseconds Wait() const;
  // Runs what `source` has; false when the console is to end.
  bool RunLines(LineSource& source, int& status);
  int RunTyped(const LineSource::Line& line);
  int RunLine(std::wstring line);
  // False when the user wants no more of it.
  bool WaitForReply(std::uint64_t number, ViewEvent& reply);
  int WaitForAnswer(ViewEvent line, const std::string& shown);
  // Of a line that a text channel took: waits for the whole answer.
  int WaitForChannels(const ViewEvent& line, const std::string& shown);
  int ChannelStatus(const ViewEvent& reply, const std::string& shown);
  // Says why a line is not waited for any longer, and answers its status; kDone while it is.
  int GiveUp(std::uint64_t epoch, Clock::time_point deadline, const std::string& shown);

  // Waits for something to happen, at most until `deadline`; false when the user wants no more of
  // it.
  bool WaitForEvent(std::optional<Clock::time_point> deadline, bool withInput,
                    os::ConsoleEvents::Ready* ready = nullptr);
  // False when there was nothing.
  bool ShowAll();
  void Show(const ViewEvent& event);
  void ShowText(const ViewEvent& event);
  void Write(const std::string& text);
  void PutText(const std::string& shown);
  void Put(std::string_view bytes);
  void Say(const std::string& text);
  void HidePrompt();
  void ShowPrompt();
  bool Ended() const { return ended_ || quit_ || outputGone_; }
  int EndStatus(int status) const;

  int WordHelp();
  int WordQuit();
  int WordHistory();
  int WordReload();
  int WordLink();

  const ConsoleOptions options_;
  const std::string endpoint_;
  os::ConsoleEvents events_;
  ViewQueue queue_;
  FacadeThread facade_;
  LinkWatch watch_;

  TextFlow flow_;
  Clock::time_point pieceShown_;  // when a channel's text came last

  bool interactive_ = false;
  bool promptShown_ = false;
  bool ended_ = false;        // asked to end, by a signal
  bool quit_ = false;         // asked to end, by the user's own word
  bool interrupted_ = false;  // Ctrl-C while a line was waited for
  bool outputGone_ = false;
  std::uint64_t lineNumber_ = 0;
  std::optional<ViewEvent> answered_;  // kAnswered of the line that is waited for
  std::uint64_t lostEpoch_ = 0;        // epoch of the last loss of the link
  bool connected_ = false;             // by the events shown so far
  bool wasConnected_ = false;
  bool settingsLoaded_ = false;
  std::uint32_t settingsWaitMs_ = 5000;
  std::string connectedText_;
  std::string lastReason_;  // why the link is not up
};

}  // namespace kiv
