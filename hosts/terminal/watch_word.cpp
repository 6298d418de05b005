#include "hosts/terminal/watch_word.h"

#include <chrono>
#include <optional>

#include "hosts/bench/round_schedule.h"
#include "hosts/terminal/change_notes.h"
#include "hosts/terminal/command_words.h"
#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/load_layout.h"
#include "hosts/terminal/round_texts.h"
#include "hosts/terminal/watch_request.h"
#include "hosts/terminal/watch_view.h"
#include "platform/os/local_time.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

using Clock = EventPump::Clock;

// Why the line is not watched; empty when it can be.
std::string Problem(std::wstring_view arguments, WatchRequest& request) {
  if (const auto problem = ReadWatchRequest(arguments, request)) return *problem;
  if (IsConsoleWord(request.line)) return "a line of the module only";
  // It sends many requests, and has a row of its own.
  if (IsLoadWord(WordOf(request.line))) return "no load";
  return {};
}

class Watching {
 public:
  Watching(ConsoleContext& context, const WatchRequest& request)
      : context_(context),
        request_(request),
        line_(ModuleLine(request.line)),
        view_(context.display, "every " + StepText(request.step) + ": " +
                                   Cut(ShownLine(request.line)) + "; q ends; "),
        schedule_(Clock::now(), request.step) {}

  int Run() {
    context_.pump.WatchKeys(true);
    view_.Begin();
    int status = kDone;
    do {
      status = RunRound();
    } while (GoesOn(status));
    context_.pump.WatchKeys(false);
    view_.End();
    if (status == kNotConnected) {
      context_.display.Notice("kiv: watching ended after " + std::to_string(round_) +
                              (round_ == 1 ? " round" : " rounds") + ": not connected\n");
    }
    return status;
  }

 private:
  int RunRound() {
    RoundTexts texts;
    ++round_;
    return context_.runner.RunRound(line_, texts, [&](const FinishedLine& line) {
      context_.changes.LineFinished(line);
      if (line.status == kInterrupted) return;  // the round before stays
      WatchRound round;
      round.number = round_;
      round.skipped = schedule_.Skipped();
      round.timeText = os::LocalTimeText();
      round.isFailed = line.status != kDone;
      round.text = texts.Text();
      round.notices = texts.Notices();
      // The first is compared with nothing, whatever was typed before.
      if (round_ > 1 && line.status == kDone) round.changes = context_.changes.Changes();
      view_.Show(round);
    });
  }

  bool GoesOn(int status) {
    if (status == kInterrupted || status == kNotConnected) return false;
    if (request_.times && round_ >= *request_.times) return false;
    const auto due = schedule_.After(Clock::now());
    do {
      if (context_.pump.WasKeyPressed()) return false;
      if (!context_.pump.Wait(due, context_.isTyped)) return false;
    } while (Clock::now() < due);
    return !context_.pump.WasKeyPressed();
  }

  ConsoleContext& context_;
  const WatchRequest& request_;
  const std::wstring line_;
  WatchView view_;
  hostbench::RoundSchedule schedule_;
  std::uint64_t round_ = 0;
};

}  // namespace

int Watch(ConsoleContext& context, std::wstring_view arguments) {
  WatchRequest request;
  if (const std::string problem = Problem(arguments, request); !problem.empty()) {
    context.display.Notice("kiv: :watch LINE [every 1s] [N times]: " + problem + "\n");
    return kCommandFailed;
  }
  return Watching(context, request).Run();
}

std::vector<std::wstring> CompleteWatch(ConsoleContext& context, std::wstring_view arguments) {
  constexpr std::wstring_view kEvery = L"every";
  const std::size_t blank = arguments.find_last_of(L' ');
  if (blank == std::wstring_view::npos) return CompleteCommandName(context, arguments);
  const std::wstring_view last = arguments.substr(blank + 1);
  std::wstring_view before = arguments.substr(0, blank);
  before = before.substr(0, before.find_last_not_of(L' ') + 1);
  std::vector<std::wstring> rows;
  const auto offer = [&rows, last](std::wstring_view text) {
    if (text.starts_with(last)) rows.emplace_back(text);
  };
  if (before.ends_with(kEvery)) {
    for (const wchar_t* step : {L"1s", L"100ms", L"500ms", L"10s", L"1m"}) offer(step);
  } else {
    offer(kEvery);
    offer(L"times");
  }
  return rows;
}

}  // namespace kiv
