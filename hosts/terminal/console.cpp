#include "hosts/terminal/console.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <iterator>
#include <utility>

#include "hosts/terminal/console_texts.h"
#include "platform/os/error_text.h"
#include "platform/os/safe_file.h"
#include "platform/os/utf8.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr std::size_t kScriptLimitBytes = 256u << 20;
constexpr std::uint32_t kStopTimeoutMs = 2000;
constexpr std::chrono::milliseconds kSettingsTimeout{2000};

int MillisecondsUntil(std::chrono::steady_clock::time_point deadline) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 1'000'000));
}

}  // namespace

Console::Console(ConsoleOptions options)
    : options_(std::move(options)),
      endpoint_(ShownLine(bench::GetSetup().endpoint.view())),
      queue_([this] { events_.Wake(); }),
      facade_(queue_),
      watch_(queue_, endpoint_, [this](bool connected) { facade_.SetConnected(connected); }) {}

int Console::Run() {
  interactive_ = !options_.HasScript() && os::ConsoleEvents::InputIsTerminal();
  facade_.Start(watch_, interactive_);
  int status = interactive_ ? RunInteractive() : RunBatch();
  Put(flow_.EndAll());
  if (outputGone_ && !interrupted_ && !ended_) {
    os::WriteErr("kiv: standard output cannot be written\n");
    status = kCommandFailed;
  }
  queue_.Close();
  if (!facade_.Stop(kStopTimeoutMs)) os::ExitNow(status);
  if (facade_.IsUnsaved()) Say(SettingsNotSavedText());
  return status;
}

int Console::RunBatch() {
  LineSource source;
  if (options_.file) {
    std::string content;
    const int error = os::ReadWholeFile(*options_.file, kScriptLimitBytes, content);
    if (error != 0) {
      Say("kiv: cannot read " + ShownLine(*options_.file) + ": " + os::ErrorText(error) + "\n");
      return kWrongUsage;
    }
    source.Add(content);
  }
  if (!WaitForLink()) return EndStatus(kNotConnected);
  int status = kDone;
  for (const std::string& line : options_.lines) {
    LineSource single;
    single.Add(line);
    if (!line.ends_with('\n')) single.Add("\n");  // an empty line is one, too
    if (!RunLines(single, status)) return EndStatus(status);
  }
  if (options_.HasScript()) {
    source.End();
    RunLines(source, status);
    return EndStatus(status);
  }
  for (bool more = true; more;) {
    os::ConsoleEvents::Ready ready;
    if (!WaitForEvent(std::nullopt, true, &ready)) break;
    std::string bytes;
    more = !ready.input || events_.ReadInput(bytes);
    source.Add(bytes);
    if (!more) source.End();
    if (!RunLines(source, status)) break;
  }
  if (events_.InputError() != 0) {
    Say("kiv: cannot read standard input: " + os::ErrorText(events_.InputError()) + "\n");
    status = kWrongUsage;
  }
  return EndStatus(status);
}

int Console::EndStatus(int status) const { return interrupted_ || ended_ ? kInterrupted : status; }

int Console::RunInteractive() {
  Say("kiv: type help for the commands of the device, :help for the console's own words\n");
  LineSource source;
  int status = kDone;
  for (bool more = true; more && !Ended();) {
    const auto promptAt = WhenToPrompt();
    if (!promptAt) ShowPrompt();
    os::ConsoleEvents::Ready ready;
    if (!WaitForEvent(promptAt, true, &ready)) {
      if (!interrupted_) break;
      ForgetInterrupt();  // the terminal has dropped the typed text: a new prompt
      promptShown_ = false;
      Put("\n");
      continue;
    }
    if (!ready.input) continue;
    promptShown_ = false;  // the user's own line end closed it
    flow_.LineWasEnded();
    std::string bytes;
    more = events_.ReadInput(bytes);
    source.Add(bytes);
    if (!more) source.End();
    RunLines(source, status);
    if (interrupted_) {
      source = LineSource();  // what was typed ahead is not wanted any more
      Put("\n");
    }
    ForgetInterrupt();
  }
  if (!outputGone_ && !ended_ && !quit_) Put("\n");
  return kDone;
}

// What arrives at the prompt takes its place; in the middle of a line more of it is waited for, so
// that a line that comes in pieces is not shown as many.
std::optional<Console::Clock::time_point> Console::WhenToPrompt() const {
  const auto quietAt = pieceShown_ + std::chrono::milliseconds(options_.settleMs);
  if (promptShown_ || !flow_.IsOpen() || Clock::now() >= quietAt) return std::nullopt;
  return quietAt;
}

void Console::ForgetInterrupt() {
  interrupted_ = false;
  events_.ForgetInterrupt();
}

std::chrono::milliseconds Console::Wait() const {
  return std::chrono::milliseconds(options_.waitMs.value_or(settingsWaitMs_));
}

// The settings, and with them the time to wait, are loaded meanwhile.
bool Console::WaitForLink() {
  const auto begin = Clock::now();
  while (!connected_) {
    auto deadline = begin + Wait();
    // What became of the settings file is told even to those who wait for nothing.
    if (!settingsLoaded_) deadline = std::max(deadline, begin + kSettingsTimeout);
    if (Clock::now() >= deadline) {
      ShowAll();
      Say(NotConnectedText(endpoint_, static_cast<std::uint32_t>(Wait().count()), lastReason_));
      return false;
    }
    if (!WaitForEvent(deadline, false)) return false;
  }
  return true;
}

bool Console::RunLines(LineSource& source, int& status) {
  LineSource::Line line;
  while (source.Next(line)) {
    const int lineStatus = RunTyped(line);
    if (status == kDone) status = lineStatus;
    if (interrupted_ || Ended()) return false;
  }
  return true;
}

const Console::Word Console::kWords[] = {
    {":help", "this list", &Console::WordHelp},
    {":history", "the lines that were typed, in all sessions", &Console::WordHistory},
    {":link", "what the console is connected to", &Console::WordLink},
    {":quit", "end the console", &Console::WordQuit},
    {":reload", "read the command catalogue again", &Console::WordReload},
};

int Console::RunTyped(const LineSource::Line& line) {
  if (line.tooLong) {
    Say(LineTooLongText(line.number));
    return kCommandFailed;
  }
  if (line.text.starts_with(L"::")) return RunLine(line.text.substr(1));
  if (!line.text.starts_with(L":")) return RunLine(line.text);
  const Word* const end = std::end(kWords);
  const std::string typed = ShownText(line.text);
  const Word* const word = std::find_if(std::begin(kWords), end,
                                        [&typed](const Word& row) { return typed == row.name; });
  if (word == end) {
    Say(UnknownWordText(typed));
    return kCommandFailed;
  }
  return (this->*word->run)();
}

int Console::RunLine(std::wstring line) {
  const std::string shown = ShownText(line);
  const std::uint64_t number = ++lineNumber_;
  ShowAll();
  answered_.reset();
  facade_.Run(number, std::move(line));
  ViewEvent reply;
  // Texts that arrive meanwhile stay in the queue: they stand behind the reply.
  if (!WaitForReply(number, reply)) return kInterrupted;
  Show(reply);
  ShowAll();
  if (reply.takenByChannel) return ChannelStatus(reply, shown);
  if (reply.posts > 0) return WaitForAnswer(std::move(reply), shown);
  if (reply.text.empty() || reply.isHelp) return kDone;
  return reply.linkDown && reply.isCommand ? kNotConnected : kCommandFailed;
}

bool Console::WaitForReply(std::uint64_t number, ViewEvent& reply) {
  while (!queue_.TakeReply(number, reply)) {
    if (interrupted_ || ended_) return false;
    const os::ConsoleEvents::Ready ready = events_.Wait(-1, false);
    if (ready.interrupt) interrupted_ = true;
    if (ready.terminate) ended_ = true;
    if (interrupted_ || ended_) return false;
  }
  return true;
}

int Console::GiveUp(std::uint64_t epoch, Clock::time_point deadline, const std::string& shown) {
  if (lostEpoch_ > epoch) {
    Say(LinkLostText(shown));
    return kNotConnected;
  }
  if (Clock::now() < deadline) return kDone;
  Say(NoAnswerText(shown, static_cast<std::uint32_t>(Wait().count())));
  return kNoAnswer;
}

int Console::WaitForAnswer(ViewEvent line, const std::string& shown) {
  const auto deadline = Clock::now() + Wait();
  for (;;) {
    ShowAll();
    if (answered_ && answered_->line == line.line) line = *answered_;
    if (line.answered) return line.result == 0 ? kDone : kCommandFailed;
    int status = GiveUp(line.epoch, deadline, shown);
    if (status == kDone && !WaitForEvent(deadline, false)) status = kInterrupted;
    if (status != kDone) {
      watch_.Abandon();
      return status;
    }
  }
}

int Console::ChannelStatus(const ViewEvent& reply, const std::string& shown) {
  if (reply.channelPosted) {
    const int status = WaitForChannels(reply, shown);
    Put(flow_.EndAll());
    return status == kDone && reply.channelFailed ? kCommandFailed : status;
  }
  if (reply.channelFailed) return kCommandFailed;
  if (reply.channelSpoke) return kDone;
  // An empty line may have nothing to send: a controller takes it and says nothing.
  if (shown.empty() && !reply.linkDown) return kDone;
  Say(reply.linkDown ? LineNotConnectedText(shown) : NothingSentText(shown));
  return reply.linkDown ? kNotConnected : kCommandFailed;
}

int Console::WaitForChannels(const ViewEvent& line, const std::string& shown) {
  using State = ChannelAnswer::State;
  const auto deadline = Clock::now() + Wait();
  const std::chrono::milliseconds settle(options_.settleMs);
  auto held = Clock::time_point::min();  // until when a slow reader of ours held the device back
  int status = kDone;
  while (status == kDone) {
    // A loss shown here came behind the answers that the progress then has.
    ShowAll();
    const LinkWatch::ChannelProgress progress = watch_.Progress();
    const auto silentAt = std::max(progress.latest, held) + settle;
    const bool canBeSilent = progress.state == State::kUntilSilent;
    const bool ended = progress.state == State::kComplete ||
                       (canBeSilent && lostEpoch_ <= line.epoch && Clock::now() >= silentAt);
    if (ended) {
      const bool hasShown = ShowAll();
      if (progress.state == State::kComplete || !hasShown) {
        watch_.Abandon();
        Put(flow_.EndAll());
        if (progress.refusal != 0) Say(RefusedText(shown, progress.refusal));
        return progress.failed ? kCommandFailed : kDone;
      }
      held = Clock::now();
    }
    status = GiveUp(line.epoch, deadline, shown);
    const auto wake = canBeSilent ? std::min(deadline, silentAt) : deadline;
    if (status == kDone && !ended && !WaitForEvent(wake, false)) status = kInterrupted;
  }
  watch_.Abandon();
  return status;
}

bool Console::WaitForEvent(std::optional<Clock::time_point> deadline, bool withInput,
                           os::ConsoleEvents::Ready* ready) {
  // What a write was told of the end was told once.
  if (interrupted_ || ended_) return false;
  const os::ConsoleEvents::Ready now =
      events_.Wait(deadline ? MillisecondsUntil(*deadline) : -1, withInput);
  if (ready != nullptr) *ready = now;
  if (now.terminate) ended_ = true;
  if (now.interrupt) interrupted_ = true;
  ShowAll();
  return !interrupted_ && !Ended();
}

bool Console::ShowAll() {
  const std::deque<ViewEvent> events = queue_.TakeAll();
  for (const ViewEvent& event : events) Show(event);
  return !events.empty();
}

void Console::Show(const ViewEvent& event) {
  switch (event.kind) {
    case ViewEvent::Kind::kText:
      ShowText(event);
      break;
    case ViewEvent::Kind::kReply:
      Write(event.text);
      break;
    case ViewEvent::Kind::kNotice:
      Say("link: " + event.text + "\n");
      break;
    case ViewEvent::Kind::kWarning:
      Say(event.text);
      break;
    case ViewEvent::Kind::kConnected:
      connected_ = wasConnected_ = true;
      lastReason_.clear();
      connectedText_ = event.text;
      Say(event.text);
      break;
    case ViewEvent::Kind::kDisconnected:
      if (connected_) lostEpoch_ = event.epoch;
      connected_ = false;
      // A device that stays away gives the same reason at each attempt: it is told once. A batch
      // whose link never came up tells it in its last line.
      if (event.text != lastReason_ && (interactive_ || wasConnected_)) {
        Say(DisconnectedText(event.text));
      }
      lastReason_ = event.text;
      break;
    case ViewEvent::Kind::kSettings:
      settingsLoaded_ = true;
      if (event.result != 0) settingsWaitMs_ = event.result;
      break;
    case ViewEvent::Kind::kAnswered:
      answered_ = event;
      break;
  }
}

void Console::ShowText(const ViewEvent& event) {
  if (event.channel == Channel::kNone) return Write(event.text);
  std::string shown = flow_.Piece(event.channel, event.text);
  if (event.endsText) shown += flow_.End(event.channel);
  pieceShown_ = Clock::now();
  PutText(shown);
}

void Console::Write(const std::string& text) { PutText(flow_.Whole(text)); }

void Console::PutText(const std::string& shown) {
  if (shown.empty()) return;
  HidePrompt();
  Put(shown);
}

// Standard output that nobody reads must not keep from ending: what a signal asks for is seen here.
void Console::Put(std::string_view bytes) {
  const os::Written written = os::WriteOut(bytes);
  if (written == os::Written::kFailed) outputGone_ = true;
  if (written != os::Written::kGivenUp) return;
  const os::ConsoleEvents::Ready now = events_.Wait(0, false);
  if (now.interrupt) interrupted_ = true;
  if (now.terminate) ended_ = true;
  if (now.woken) events_.Wake();  // whoever waits for the queue has not looked into it yet
}

void Console::Say(const std::string& text) {
  HidePrompt();
  // Elsewhere the two outputs do not meet: a notice leaves a captured text alone.
  if (os::ConsoleEvents::OutputIsTerminal()) Put(flow_.Break());
  os::WriteErr(text);
}

void Console::HidePrompt() {
  if (!promptShown_) return;
  promptShown_ = false;
  const char* const terminal = std::getenv("TERM");
  const bool canErase = terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
  Put(canErase ? "\r\x1b[K" : "\n");
}

void Console::ShowPrompt() {
  if (promptShown_) return;
  promptShown_ = true;
  Put(flow_.EndAll() + kPrompt);
}

int Console::WordHelp() {
  std::string text;
  for (const Word& word : kWords) {
    text += std::string(word.name) + std::string(10 - std::string_view(word.name).size(), ' ') +
            word.help + "\n";
  }
  Write(text + "::x       send the line :x to the module\n");
  return kDone;
}

int Console::WordLink() {
  Write(connected_ ? connectedText_ : DisconnectedText(lastReason_));
  return kDone;
}

int Console::WordQuit() {
  quit_ = true;
  return kDone;
}

int Console::WordHistory() {
  const std::uint64_t number = ++lineNumber_;
  facade_.ListHistory(number);
  ViewEvent reply;
  if (!WaitForReply(number, reply)) return kInterrupted;
  ShowAll();
  Show(reply);
  return kDone;
}

int Console::WordReload() {
  const std::uint64_t number = ++lineNumber_;
  facade_.Reload(number);
  ViewEvent reply;
  if (!WaitForReply(number, reply)) return kInterrupted;
  ShowAll();
  return reply.isCommand ? kDone : kCommandFailed;
}

}  // namespace kiv
