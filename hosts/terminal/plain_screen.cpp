#include "hosts/terminal/plain_screen.h"

#include "hosts/terminal/line_rows.h"
#include "platform/os/console_events.h"

namespace kiv {

void PlainScreen::Write(std::string_view bytes) {
  if (bytes.empty()) return;
  HidePrompt();
  WriteOut(bytes);
}

void PlainScreen::Notify(std::string_view text) {
  HidePrompt();
  WriteErr(text);
}

void PlainScreen::Block(const std::vector<BlockRow>& rows) {
  HidePrompt();
  if (!rows.empty()) WriteOut(block_.Draw(rows, os::ConsoleEvents::OutputSize()));
}

void PlainScreen::HidePrompt() {
  if (IsBlockShown()) {
    WriteOut(block_.Erase(os::ConsoleEvents::OutputSize(), TerminalReflows()));
  }
  if (!isPromptShown_) return;
  isPromptShown_ = false;
  WriteOut(canErase_ ? "\r\x1b[K" : "\n");
}

void PlainScreen::ShowPrompt() {
  if (isPromptShown_) return;
  isPromptShown_ = true;
  WriteOut(Prompt());
}

// The line end that was typed closed the prompt's row.
void PlainScreen::Typed(std::string_view bytes) {
  isPromptShown_ = false;
  source_.Add(bytes);
}

void PlainScreen::EndOfInput() {
  Screen::EndOfInput();
  source_.End();
}

// The terminal has dropped what it held of the line.
void PlainScreen::DropTyped() {
  isPromptShown_ = false;
  source_ = LineSource();
  WriteOut("\n");
}

}  // namespace kiv
