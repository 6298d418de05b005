#include "hosts/terminal/plain_screen.h"

#include <cstdlib>
#include <cstring>

#include "hosts/terminal/console_texts.h"

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

void PlainScreen::HidePrompt() {
  if (!isPromptShown_) return;
  isPromptShown_ = false;
  const char* const terminal = std::getenv("TERM");
  const bool canErase = terminal != nullptr && std::strcmp(terminal, "dumb") != 0;
  WriteOut(canErase ? "\r\x1b[K" : "\n");
}

void PlainScreen::ShowPrompt() {
  if (isPromptShown_) return;
  isPromptShown_ = true;
  WriteOut(kPrompt);
}

// The line end that was typed closed the prompt's row.
void PlainScreen::Typed(std::string_view bytes) {
  isPromptShown_ = false;
  source_.Add(bytes);
}

// The terminal has dropped what it held of the line.
void PlainScreen::DropTyped() {
  isPromptShown_ = false;
  source_ = LineSource();
  WriteOut("\n");
}

}  // namespace kiv
