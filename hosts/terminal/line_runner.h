// LineRunner: has the module run a line on the facade's thread, shows its reply, waits for the
// answer, and works out the line's status (ExitStatus of console_options.h).
//
// Threads: the main thread. Borrows everything.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "hosts/terminal/command_help.h"
#include "hosts/terminal/console_options.h"
#include "hosts/terminal/display.h"
#include "hosts/terminal/event_pump.h"
#include "hosts/terminal/facade_thread.h"
#include "hosts/terminal/line_record.h"
#include "hosts/terminal/link_watch.h"
#include "hosts/terminal/load_layout.h"
#include "hosts/terminal/load_notes.h"
#include "hosts/terminal/round_texts.h"

namespace kiv {

// A line that was run, for those who measure and compare.
struct FinishedLine {
  std::wstring text;  // as it went to the module
  int status = kDone;
  bool isLoad = false;
  bool isRound = false;                         // of a line that is repeated
  std::chrono::steady_clock::time_point typed;  // the console took it
  std::chrono::steady_clock::time_point shown;  // all of its answer was written
  LineRecord record;                            // empty when the module did not get to it
};

class LineRunner {
 public:
  using OnFinished = std::function<void(const FinishedLine& line)>;

  LineRunner(const ConsoleOptions& options, FacadeThread& facade, LinkWatch& watch, EventPump& pump,
             Display& display, CommandHelp& help)
      : options_(options),
        facade_(facade),
        watch_(watch),
        pump_(pump),
        display_(display),
        help_(help) {}

  // Answers the line's status; kInterrupted when the user wants no more of it.
  int Run(std::wstring line);
  // Likewise a round of a line that is repeated. `texts` gets what belongs to it, only other texts
  // are shown, until `show` is to show it: the line is answered then, or not waited for any longer.
  // It is not kept in the history.
  int RunRound(std::wstring line, RoundTexts& texts, OnFinished show);
  // Hears of each line that Run ran, when its answer is shown.
  void TellFinished(OnFinished onFinished) { onFinished_ = std::move(onFinished); }
  // Has `question` fill `reply` on the facade's thread, where the module and the settings may be
  // asked. False when the user wants no more of it. What arrived before is shown by then.
  bool Ask(FacadeThread::Question question, ViewEvent& reply);
  // Ends a load that goes on though nobody waits for it, where there is one.
  void StopLeftLoad();
  // The row of such a load, as soon as an answer that came late has moved it; empty: there is none.
  // Nothing wakes the main thread for it: HasLeftLoad says whether to look again and again.
  std::string LeftLoadRow();
  bool HasLeftLoad() const { return leftNotes_.has_value(); }
  // How long to wait for the link and for each answer.
  std::chrono::milliseconds WaitTime() const;

 private:
  using Clock = EventPump::Clock;
  static constexpr int kGoesOn = -1;   // no status yet
  static constexpr int kUnclear = -2;  // the load has ended, and nobody knows how

  // As the pump's; false as well when a key ends the round that runs.
  bool Wait(Clock::time_point deadline);
  int RunAndWait(const std::wstring& line);
  void ShowReply(const ViewEvent& reply);
  // What the console has to say of the line that runs.
  void Say(const std::string& notice);
  int WaitForAnswer(ViewEvent line, const std::string& shown);
  // Says what may have been meant by a line that the module did not run; answers its status.
  int Refused(const ViewEvent& reply, std::wstring_view line);
  int ChannelStatus(const ViewEvent& reply, const std::string& shown);
  // Of a line that a text channel took: waits for the whole answer.
  int WaitForChannels(const ViewEvent& line, const std::string& shown);
  // Of a line that loads a file (line_runner_load.cpp).
  // Whether it may go to the module: kDone, or its status; has then said why.
  int PrepareLoad(const std::wstring& typed);
  // Until no answer is due that could be taken for one of the new load's.
  int WaitForOldLoad(const LoadNotes& notes);
  int LoadStatus(const ViewEvent& reply, const std::wstring& typed, Clock::time_point begin);
  // Of a line that posted nothing.
  int NotPostedStatus(const ViewEvent& reply, const std::wstring& typed);
  // Until the device has the file, or will not have it.
  int WaitForLoad(const ViewEvent& line, const LoadNotes& notes);
  // kGoesOn, or the line's status; has said why when it is not kDone.
  int EndOfLoad(const ViewEvent& line, const LoadNotes& notes, LoadState state);
  // Of a load that ended by its last confirmation; kUnclear, and nothing said yet, when that may be
  // another's.
  int ConfirmedStatus(const LoadNotes& notes, const LoadState& state);
  // Says what became of it once the module has ended it.
  void StopLoad(const LoadNotes& notes);
  // What is still to be said of a load whose end is unclear. Both are empty where it is clear.
  struct Doubt {
    std::string open;    // the device cannot be asked either
    std::string stored;  // it has the file
  };
  // Says how a load ended that may have been stored; answers the line's status.
  int EndLoad(const LoadNotes& notes, const std::string& mappedPath, int status);
  // Compares the file with what the device says it has, which ends each doubt.
  int VerifyLoad(const LoadNotes& notes, const std::string& mappedPath, const Doubt& doubt);
  // Says why a line is not waited for any longer, and answers its status; kDone while it is.
  int GiveUp(std::uint64_t epoch, Clock::time_point deadline, const std::string& shown);

  const ConsoleOptions& options_;
  FacadeThread& facade_;
  LinkWatch& watch_;
  EventPump& pump_;
  Display& display_;
  CommandHelp& help_;
  std::wstring loadPath_;  // as it was typed, of the load that the module has open
  // Of the load that was left, and how far it was then.
  std::optional<LoadNotes> leftNotes_;
  std::uint32_t leftConfirmed_ = 0;
  LoadLayout loadLayout_;         // of the command of the last load line
  std::uint64_t number_ = 0;      // of the last line or question
  std::uint64_t lineNumber_ = 0;  // of the last line; 0: it did not go to the module
  bool isLoad_ = false;           // the last line was one that loads a file
  OnFinished onFinished_;
  RoundTexts* round_ = nullptr;  // while a round runs
  OnFinished showRound_;
};

}  // namespace kiv
