#include "hosts/terminal/screen.h"

#include "platform/os/console_events.h"

namespace kiv {

void Screen::SetPrompt(std::string prompt) {
  if (prompt == prompt_) return;
  const bool wasShown = isPromptShown_;
  if (wasShown) HidePrompt();
  prompt_ = std::move(prompt);
  if (wasShown) ShowPrompt();
}

void Screen::WriteOut(std::string_view bytes) {
  const os::Written written = os::WriteOut(bytes);
  if (written == os::Written::kFailed) isOutputGone_ = true;
  if (written == os::Written::kGivenUp) stops_.Look();
}

void Screen::WriteErr(std::string_view bytes) {
  if (os::WriteErr(bytes) == os::Written::kGivenUp) stops_.Look();
}

}  // namespace kiv
