#include "hosts/terminal/display.h"

#include <utility>

#include "platform/os/console_events.h"
#include "platform/os/paths.h"

namespace kiv {
namespace {

// How long the end of the console waits for the disk of its log.
constexpr std::chrono::milliseconds kLogPatience{2000};

bool NoticesMeetTexts() {
  return os::ConsoleEvents::OutputIsTerminal() && os::ConsoleEvents::ErrorIsTerminal();
}

}  // namespace

Display::Display(Screen& screen, std::function<void()> wake)
    : screen_(screen), log_(std::move(wake)) {}

void Display::SetColours(ColourDepth depth, const TerminalAbilities& abilities) {
  depth_ = depth;
  abilities_ = abilities;
  SetLineColours();
}

void Display::SetLineColours() {
  LineColours colours(colours_, depth_, abilities_);
  screen_.SetActiveColours(std::string(colours.ActiveBegin()), std::string(colours.End()));
  shown_.painter.SetColours(std::move(colours));
}

void Display::Follow(const ConsoleSettings& settings) {
  colours_ = ColoursOf(settings);
  SetLineColours();
  const StampForm stamp =
      settings.values.displayTimeStamp != 0 ? StampForm::kTime : StampForm::kNone;
  shown_.painter.SetStamp(stamp);
  logged_.painter.SetStamp(settings.values.appendTime != 0 ? StampForm::kDateTime : stamp);
  const bool isLogged = settings.areThere && settings.values.autoSave != 0;
  log_.SetPath(isLogged ? os::MapPath(settings.logPath) : std::string());
  hasSettings_ = true;
  for (const Early& early : std::exchange(early_, {})) Log(early.kind, early.text, early.at);
}

void Display::ChangeFilter(const std::function<void(ShownFilter& filter)>& change) {
  EndPieces();
  change(filter_);
  shown_.painter.SetPattern(filter_.Pattern());
  TextFlow::Sieve sieve;
  if (filter_.FiltersChannels()) {
    sieve = [this](Channel channel, std::string lines) {
      return filter_.Lines(KindOfChannel(channel), std::move(lines));
    };
  }
  shown_.flow.SetSieve(std::move(sieve));
}

void Display::ToScreen(ShownKind kind, const std::string& text, StampTime at) {
  if (!text.empty()) screen_.Write(shown_.painter.Paint(kind, text, at));
}

// Until the settings are there it is not known whether there is a log.
void Display::Log(ShownKind kind, const std::string& text, StampTime at) {
  if (text.empty()) return;
  if (!hasSettings_) {
    early_.push_back({kind, text, at});
  } else if (log_.IsWanted()) {
    log_.Add(logged_.painter.Paint(kind, text, at));
  }
}

void Display::LogWhole(ShownKind kind, const std::string& text, StampTime at) {
  if (!IsLogWanted()) return;
  Log(kind, logged_.flow.Break(), at);
  Log(kind, logged_.flow.Whole(text), at);
}

void Display::Whole(ShownKind kind, const std::string& text, StampTime at) {
  if (text.empty()) return;
  LogWhole(kind, text, at);
  ShowWhole(kind, text, at);
}

void Display::ShowWhole(ShownKind kind, const std::string& text, StampTime at) {
  if (text.empty()) return;
  ToScreen(kind, shown_.flow.Break(), at);
  ToScreen(kind, shown_.flow.Whole(text), at);
}

void Display::Arrived(const ViewEvent& event) {
  if (event.channel != Channel::kNone) return ArrivedPiece(event);
  if (!IsFiltered(event.shown)) return Whole(event.shown, event.text, event.arrivedAt);
  if (event.text.empty()) return;
  LogWhole(event.shown, event.text, event.arrivedAt);
  const bool isIndication = event.shown == ShownKind::kIndication;
  ShowWhole(event.shown,
            isIndication ? filter_.Indication(event.cmdId, event.text)
                         : filter_.Lines(event.shown, event.text),
            event.arrivedAt);
}

void Display::ArrivedPiece(const ViewEvent& event) {
  const auto next = [&event](Way& way) {
    std::string text = way.flow.Piece(event.channel, event.text);
    return event.endsText ? text + way.flow.End(event.channel) : text;
  };
  if (IsLogWanted()) Log(event.shown, next(logged_), event.arrivedAt);
  pieceShown_ = Clock::now();
  ToScreen(event.shown, next(shown_), event.arrivedAt);
}

void Display::EndPieces() {
  const StampTime now = TimeStamp::Clock::now();
  // What is still held back is a part of a line, or lines of channels: of one kind to the eye.
  if (IsLogWanted()) Log(ShownKind::kAt, logged_.flow.EndAll(), now);
  ToScreen(ShownKind::kAt, shown_.flow.EndAll(), now);
}

void Display::TypedLine(const std::string& line) {
  RowWasEnded();
  LogWhole(ShownKind::kRequest, screen_.Prompt() + line + "\n", TimeStamp::Clock::now());
}

// Elsewhere the two outputs do not meet: a notice leaves a captured text alone.
void Display::Progress(const std::string& row) {
  ToScreen(ShownKind::kNotice, shown_.flow.Break(), TimeStamp::Clock::now());
  screen_.Progress(row);
}

void Display::Block(std::vector<BlockRow> rows) {
  blockRows_ = std::move(rows);
  DrawBlock();
}

void Display::DrawBlock() {
  if (!blockRows_.empty())
    ToScreen(ShownKind::kNotice, shown_.flow.Break(), TimeStamp::Clock::now());
  screen_.Block(blockRows_);
}

void Display::Notice(const std::string& text) {
  const StampTime now = TimeStamp::Clock::now();
  LogWhole(ShownKind::kNotice, text, now);
  ShowNotice(text, now);
}

void Display::ShowNotice(const std::string& text, StampTime at) {
  if (os::ConsoleEvents::OutputIsTerminal()) {
    ToScreen(ShownKind::kNotice, shown_.flow.Break(), at);
  }
  screen_.Notify(NoticesMeetTexts() ? shown_.painter.Paint(ShownKind::kNotice, text, at) : text);
}

void Display::Brought(const std::string& typed, const std::string& shown) {
  EndPieces();
  Whole(ShownKind::kRequest, screen_.Prompt() + shown + "\n");
  screen_.AddHistory(typed);
}

void Display::ShowPrompt() {
  if (screen_.IsPromptShown()) return;
  EndPieces();
  screen_.ShowPrompt();
}

std::optional<Display::Clock::time_point> Display::WhenToPrompt(
    std::chrono::milliseconds settle) const {
  const auto quietAt = pieceShown_ + settle;
  if (screen_.IsPromptShown() || !shown_.flow.IsOpen() || Clock::now() >= quietAt) {
    return std::nullopt;
  }
  return quietAt;
}

void Display::RowWasEnded() {
  shown_.flow.LineWasEnded();
  shown_.painter.LineWasEnded();
}

void Display::Flush() {
  log_.Flush();
  // Its own log would have it in vain.
  if (const std::string problem = log_.TakeProblem(); !problem.empty()) {
    ShowNotice(problem, TimeStamp::Clock::now());
  }
  // What was shown meanwhile stands above the block.
  if (!blockRows_.empty() && !screen_.IsBlockShown()) DrawBlock();
  screen_.Flush();
}

void Display::CloseLog() {
  EndPieces();
  log_.Close(kLogPatience);
  Flush();
}

}  // namespace kiv
