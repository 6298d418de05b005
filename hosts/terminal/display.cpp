#include "hosts/terminal/display.h"

#include <utility>

#include "platform/os/console_events.h"

namespace kiv {

void Display::Arrived(const ViewEvent& event) {
  if (event.channel == Channel::kNone) return Whole(event.text);
  std::string shown = flow_.Piece(event.channel, event.text);
  if (event.endsText) shown += flow_.End(event.channel);
  pieceShown_ = Clock::now();
  screen_.Write(shown);
}

// Elsewhere the two outputs do not meet: a notice leaves a captured text alone.
void Display::Progress(const std::string& row) {
  screen_.Write(flow_.Break());
  screen_.Progress(row);
}

void Display::Block(std::vector<BlockRow> rows) {
  blockRows_ = std::move(rows);
  DrawBlock();
}

void Display::DrawBlock() {
  if (!blockRows_.empty()) screen_.Write(flow_.Break());
  screen_.Block(blockRows_);
}

// What was shown meanwhile stands above the block.
void Display::Flush() {
  if (!blockRows_.empty() && !screen_.IsBlockShown()) DrawBlock();
  screen_.Flush();
}

void Display::Notice(const std::string& text) {
  if (os::ConsoleEvents::OutputIsTerminal()) screen_.Write(flow_.Break());
  screen_.Notify(text);
}

void Display::ShowPrompt() {
  if (screen_.IsPromptShown()) return;
  EndPieces();
  screen_.ShowPrompt();
}

std::optional<Display::Clock::time_point> Display::WhenToPrompt(
    std::chrono::milliseconds settle) const {
  const auto quietAt = pieceShown_ + settle;
  if (screen_.IsPromptShown() || !flow_.IsOpen() || Clock::now() >= quietAt) return std::nullopt;
  return quietAt;
}

}  // namespace kiv
