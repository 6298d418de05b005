#include "hosts/terminal/line_runner.h"

#include <algorithm>
#include <utility>

#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/long_word.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

// For notices that nobody reads on a terminal.
constexpr std::size_t kColumnsElsewhere = 80;

}  // namespace

std::chrono::milliseconds LineRunner::WaitTime() const {
  return std::chrono::milliseconds(options_.waitMs.value_or(pump_.News().settingsWaitMs));
}

bool LineRunner::Ask(FacadeThread::Question question, ViewEvent& reply) {
  const std::uint64_t number = ++number_;
  facade_.Ask(number, std::move(question));
  if (!pump_.WaitForReply(number, reply)) return false;
  pump_.ShowAll();
  return true;
}

int LineRunner::Run(std::wstring line) {
  FinishedLine finished;
  finished.typed = Clock::now();
  lineNumber_ = 0;
  isLoad_ = false;
  finished.status = RunAndWait(line);
  finished.text = std::move(line);
  finished.isLoad = isLoad_;
  finished.isRound = round_ != nullptr;
  // The module may still be busy with a line that nobody waits for any longer.
  if (LineRecord record = watch_.TakeRecord(); record.line == lineNumber_) {
    finished.record = std::move(record);
  }
  if (finished.isRound) showRound_(finished);
  display_.Flush();
  finished.shown = Clock::now();
  if (onFinished_) onFinished_(finished);
  return finished.status;
}

int LineRunner::RunRound(std::wstring line, RoundTexts& texts, OnFinished show) {
  round_ = &texts;
  showRound_ = std::move(show);
  pump_.SetTaker([&texts](const ViewEvent& event) { return texts.Take(event); });
  const int status = Run(std::move(line));
  pump_.SetTaker(nullptr);
  showRound_ = nullptr;
  round_ = nullptr;
  return status;
}

bool LineRunner::Wait(Clock::time_point deadline) {
  return pump_.Wait(deadline, false) && (round_ == nullptr || !pump_.WasKeyPressedSince());
}

void LineRunner::ShowReply(const ViewEvent& reply) {
  if (round_ != nullptr) return round_->Reply(reply);
  display_.Reply(reply.text, reply.shown, reply.arrivedAt);
}

void LineRunner::Say(const std::string& notice) {
  if (round_ != nullptr) return round_->Notice(notice);
  display_.Notice(notice);
}

int LineRunner::RunAndWait(const std::wstring& line) {
  const std::string shown = ShownText(line);
  const bool isRestLost = IsRestLost(line);
  const std::optional<std::wstring> loadPath = LoadPathOf(line);
  if (loadPath) {
    const int status = PrepareLoad(*loadPath);
    if (status != kDone) return status;
  }
  const std::uint64_t number = lineNumber_ = ++number_;
  pump_.ShowAll();
  pump_.ForgetAnswered();
  const auto begin = Clock::now();
  facade_.Run(number, line, round_ == nullptr);
  ViewEvent reply;
  // Texts that arrive meanwhile stay in the queue: they stand behind the reply.
  if (!pump_.WaitForReply(number, reply)) return kInterrupted;
  ShowReply(reply);
  pump_.ShowAll();
  isLoad_ = reply.isLoad;
  if (loadPath) return LoadStatus(reply, *loadPath, begin);
  if (reply.takenByChannel) {
    const bool isCut = isRestLost && reply.channelPosted;
    if (isCut) Say(RestLostText(shown));
    const int status = ChannelStatus(reply, shown);
    return status == kDone && isCut ? kCommandFailed : status;
  }
  if (reply.posts > 0) return WaitForAnswer(std::move(reply), shown);
  if (reply.text.empty() || reply.isHelp) return kDone;
  return Refused(reply, line);
}

// Without a link the module does not look at a command's parameters.
int LineRunner::Refused(const ViewEvent& reply, std::wstring_view line) {
  if (reply.linkDown && reply.isCommand) return kNotConnected;
  const int columns = os::ConsoleEvents::ErrorColumns();
  const std::string help =
      help_.AfterRefusal(line, columns > 0 ? static_cast<std::size_t>(columns) : kColumnsElsewhere);
  if (!help.empty()) Say(help);
  return kCommandFailed;
}

int LineRunner::GiveUp(std::uint64_t epoch, Clock::time_point deadline, const std::string& shown) {
  if (pump_.News().lostEpoch > epoch) {
    Say(LinkLostText(shown));
    return kNotConnected;
  }
  if (Clock::now() < deadline) return kDone;
  Say(NoAnswerText(shown, static_cast<std::uint32_t>(WaitTime().count())));
  return kNoAnswer;
}

int LineRunner::WaitForAnswer(ViewEvent line, const std::string& shown) {
  const auto deadline = Clock::now() + WaitTime();
  for (;;) {
    pump_.ShowAll();
    const auto& answered = pump_.News().answered;
    if (answered && answered->line == line.line) line = *answered;
    if (line.answered && line.isUnclear) {
      display_.Notice(UnclearAnswerText(shown));
      return kNoAnswer;
    }
    if (line.answered) return line.result == 0 ? kDone : kCommandFailed;
    int status = GiveUp(line.epoch, deadline, shown);
    if (status == kDone && !Wait(deadline)) status = kInterrupted;
    if (status != kDone) {
      watch_.Abandon();
      return status;
    }
  }
}

int LineRunner::ChannelStatus(const ViewEvent& reply, const std::string& shown) {
  if (reply.channelPosted) {
    const int status = WaitForChannels(reply, shown);
    display_.EndPieces();
    return status == kDone && reply.channelFailed ? kCommandFailed : status;
  }
  if (reply.channelFailed) return kCommandFailed;
  if (reply.channelSpoke) return kDone;
  // An empty line may have nothing to send: a controller takes it and says nothing.
  if (shown.empty() && !reply.linkDown) return kDone;
  Say(reply.linkDown ? LineNotConnectedText(shown) : NothingSentText(shown));
  return reply.linkDown ? kNotConnected : kCommandFailed;
}

int LineRunner::WaitForChannels(const ViewEvent& line, const std::string& shown) {
  using State = ChannelAnswer::State;
  const auto deadline = Clock::now() + WaitTime();
  const std::chrono::milliseconds settle(options_.settleMs);
  auto held = Clock::time_point::min();  // until when a slow reader of ours held the device back
  int status = kDone;
  while (status == kDone) {
    // A loss shown here came behind the answers that the progress then has.
    pump_.ShowAll();
    const LinkWatch::ChannelProgress progress = watch_.Progress();
    const auto silentAt = std::max(progress.latest, held) + std::max(settle, progress.leastSilence);
    const bool canBeSilent = progress.state == State::kUntilSilent;
    const bool isSilent =
        canBeSilent && pump_.News().lostEpoch <= line.epoch && Clock::now() >= silentAt;
    const bool ended = progress.state == State::kComplete || isSilent;
    if (ended) {
      const bool hasShown = pump_.ShowAll();
      if (progress.state == State::kComplete || !hasShown) {
        watch_.Abandon();
        display_.EndPieces();
        if (progress.refusal != 0) Say(RefusedText(shown, progress.refusal));
        return progress.failed ? kCommandFailed : kDone;
      }
      held = Clock::now();
    }
    status = GiveUp(line.epoch, deadline, shown);
    const auto wake = canBeSilent ? std::min(deadline, silentAt) : deadline;
    if (status == kDone && !ended && !Wait(wake)) status = kInterrupted;
  }
  watch_.Abandon();
  return status;
}

}  // namespace kiv
