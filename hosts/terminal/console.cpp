#include "hosts/terminal/console.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <optional>
#include <utility>

#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/editing_screen.h"
#include "hosts/terminal/line_editor.h"
#include "hosts/terminal/plain_screen.h"
#include "platform/os/error_text.h"
#include "platform/os/safe_file.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::size_t kScriptLimitBytes = 256u << 20;
constexpr std::uint32_t kStopTimeoutMs = 2000;
constexpr std::chrono::milliseconds kSettingsTimeout{2000};

// How often the row of a load is drawn above the prompt.
constexpr std::chrono::milliseconds kRowTime{250};

using DueTime = std::optional<EventPump::Clock::time_point>;

DueTime Earliest(std::initializer_list<DueTime> times) {
  DueTime earliest;
  for (const DueTime& time : times) {
    if (time && (!earliest || *time < *earliest)) earliest = time;
  }
  return earliest;
}

bool CanErase() {
  const char* const terminal = std::getenv("TERM");
  return terminal != nullptr && std::strcmp(terminal, "dumb") != 0 &&
         os::ConsoleEvents::OutputIsTerminal();
}

// With a line editor where somebody types on a terminal that can show one.
std::unique_ptr<Screen> MakeScreen(StopRequests& stops, os::ConsoleEvents& events,
                                   bool interactive) {
  const bool canErase = CanErase();
  if (interactive && canErase) {
    if (std::unique_ptr<LineEditor> editor = MakeLineEditor()) {
      events.WatchTerminal();
      return std::make_unique<EditingScreen>(stops, std::move(editor),
                                             os::ConsoleEvents::ErrorIsTerminal());
    }
  }
  return std::make_unique<PlainScreen>(stops, canErase);
}

}  // namespace

Console::Console(ConsoleOptions options)
    : options_(std::move(options)),
      interactive_(!options_.HasScript() && os::ConsoleEvents::InputIsTerminal()),
      drawsOnTerminal_(interactive_ && os::ConsoleEvents::OutputIsTerminal()),
      endpoint_(ShownLine(bench::GetSetup().endpoint.view())),
      stops_(events_),
      screen_(MakeScreen(stops_, events_, interactive_)),
      display_(*screen_, [this] { events_.Wake(); }),
      queue_([this] { events_.Wake(); }),
      facade_(queue_),
      watch_(queue_, endpoint_, [this](bool connected) { facade_.SetConnected(connected); }),
      pump_(queue_, stops_, display_, *screen_, interactive_),
      help_(bench::GetSetup().catalogue),
      runner_(options_, facade_, watch_, pump_, display_, help_),
      changes_(display_),
      context_{options_, pump_,   display_, runner_, help_,
               changes_, timing_, watch_,   queue_,  interactive_},
      completion_(context_) {
  runner_.TellFinished([this](const FinishedLine& line) {
    timing_.Add(line);
    if (!line.isRound) changes_.LineFinished(line);
  });
  const ColourSurroundings surroundings = ReadColourSurroundings();
  display_.SetColours(ChooseColourDepth(options_.colour, surroundings), surroundings.abilities);
  pump_.OnSettings([this](const ConsoleSettings& settings) { DrawBy(settings); });
}

void Console::DrawBy(const ConsoleSettings& settings) {
  display_.Follow(settings);
  if (!settings.areThere) return;
  screen_->SetPrompt(PromptText(settings));
  if (interactive_) screen_->SetTitle(TitleText(settings));
}

int Console::Run() {
  if (interactive_ || !options_.verbose) watch_.HideLoads();
  facade_.Start(watch_, interactive_);
  int status = interactive_ ? RunInteractive() : RunBatch();
  runner_.StopLeftLoad();
  display_.EndPieces();
  if (screen_->IsOutputGone() && !stops_.IsAny() && !IsTerminalGone()) {
    os::WriteErr("kiv: standard output cannot be written\n");
    status = kCommandFailed;
  }
  queue_.Close();
  if (!facade_.Stop(kStopTimeoutMs)) {
    if (facade_.IsSaving()) display_.Notice(SettingsNotSavedText());
    display_.CloseLog();
    os::ExitNow(status);
  }
  if (facade_.IsUnsaved()) display_.Notice(SettingsNotSavedText());
  display_.CloseLog();
  return status;
}

int Console::RunBatch() {
  std::string script;
  if (options_.file) {
    const int error = os::ReadWholeFile(*options_.file, kScriptLimitBytes, script);
    if (error != 0) {
      display_.Notice(UnreadableText(ShownLine(*options_.file), os::ErrorText(error)));
      return kWrongUsage;
    }
  }
  if (!WaitForLink()) return EndStatus(kNotConnected);
  int status = kDone;
  for (const std::string& lines : options_.lines) {
    LineSource source;
    source.Add(lines);
    if (!lines.ends_with('\n')) source.Add("\n");  // an empty line is one, too
    if (!RunLines(source, status)) return EndStatus(status);
  }
  if (!options_.HasScript()) return EndStatus(RunInput(status));
  LineSource source;
  source.Add(script);
  source.End();
  RunLines(source, status);
  return EndStatus(status);
}

int Console::RunInput(int status) {
  LineSource source;
  for (bool more = true; more;) {
    os::ConsoleEvents::Ready ready;
    if (!pump_.Wait(std::nullopt, true, &ready)) break;
    std::string bytes;
    more = !ready.input || events_.ReadInput(bytes);
    source.Add(bytes);
    if (!more) source.End();
    if (!RunLines(source, status)) break;
  }
  if (events_.InputError() == 0) return status;
  display_.Notice(UnreadableText("standard input", os::ErrorText(events_.InputError())));
  return kWrongUsage;
}

int Console::RunInteractive() {
  help_.Start();
  screen_->SetCompletion(&completion_);
  display_.Notice(
      "kiv: type help for the commands of the device, :help for the console's own words\n");
  const auto next = [this](LineSource::Line& line) {
    if (screen_->HasTyped()) display_.ShowPrompt();
    return screen_->NextLine(line);
  };
  int status = kDone;
  while (!Ended() && !screen_->HasInputEnded()) {
    const auto promptAt = display_.WhenToPrompt(std::chrono::milliseconds(options_.settleMs));
    display_.SetRowAbovePrompt(runner_.LeftLoadRow());
    if (!promptAt) display_.ShowPrompt();
    const auto keysDue = screen_->KeysDue();
    const auto rowDue =
        runner_.HasLeftLoad() ? std::optional(EventPump::Clock::now() + kRowTime) : std::nullopt;
    os::ConsoleEvents::Ready ready;
    pump_.Wait(Earliest({promptAt, keysDue, rowDue}), true, &ready);
    if (Ended()) break;
    if (!stops_.IsInterrupted() && (ready.input || keysDue)) {
      if (screen_->IsEchoOfTerminal()) display_.RowWasEnded();
      RunLines(next, status);
    }
    if (stops_.IsInterrupted()) {
      screen_->DropTyped();  // what was typed is not wanted any more
      runner_.StopLeftLoad();
    }
    stops_.ForgetInterrupt();
  }
  if (!Ended()) screen_->Write("\n");
  screen_->Flush();
  // What typed lines came to was seen; a Ctrl-C ended a line and not the run.
  return stops_.HasEnded() || IsTerminalGone() ? kInterrupted : kDone;
}

// The signal that says so comes a little later than its first signs, and may be blocked.
bool Console::IsTerminalGone() const {
  if (!interactive_) return false;
  return (drawsOnTerminal_ && screen_->IsOutputGone()) || events_.InputError() != 0 ||
         !os::ConsoleEvents::InputIsTerminal();
}

// The settings, and with them the time to wait, are loaded meanwhile.
bool Console::WaitForLink() {
  using Clock = EventPump::Clock;
  const auto begin = Clock::now();
  while (!pump_.News().connected) {
    auto deadline = begin + runner_.WaitTime();
    // What became of the settings file is told even to those who wait for nothing.
    if (!pump_.News().settingsLoaded) deadline = std::max(deadline, begin + kSettingsTimeout);
    if (Clock::now() >= deadline) {
      pump_.ShowAll();
      display_.Notice(NotConnectedText(endpoint_,
                                       static_cast<std::uint32_t>(runner_.WaitTime().count()),
                                       pump_.News().lastReason));
      return false;
    }
    if (!pump_.Wait(deadline, false)) return false;
  }
  return true;
}

bool Console::RunLines(LineSource& source, int& status) {
  return RunLines([&source](LineSource::Line& line) { return source.Next(line); }, status);
}

bool Console::RunLines(const NextLine& next, int& status) {
  LineSource::Line line;
  while (next(line)) {
    const int lineStatus = RunTyped(line);
    if (status == kDone) status = lineStatus;
    if (stops_.IsInterrupted() || Ended()) return false;
  }
  return true;
}

int Console::RunTyped(const LineSource::Line& line) {
  if (line.tooLong) {
    display_.Notice(LineTooLongText(line.number));
    return kCommandFailed;
  }
  if (interactive_ && !line.isOfKey) {
    if (pump_.News().settings->values.clearScreen != 0) screen_->ClearFor(ShownLine(line.text));
    display_.TypedLine(ShownLine(line.text));
  }
  return RunTypedLine(context_, line.text);
}

}  // namespace kiv
