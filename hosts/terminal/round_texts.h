// RoundTexts: what belongs to one round of a watched line, kept apart from what else arrives
// meanwhile: the device's confirmation, the text of a channel that took the line, what the module
// says to a line that sends nothing, and the console's notices of the line. What the line sends is
// the same in each round, and left out.
//
// Threads: the main thread. Owns its texts. Errors: none.
#pragma once

#include <string>

#include "hosts/terminal/text_flow.h"
#include "hosts/terminal/view_queue.h"

namespace kiv {

class RoundTexts {
 public:
  // The module's answer to the line; before anything else.
  void Reply(const ViewEvent& reply);
  // A text of the message object; false when it is none of the round's.
  bool Take(const ViewEvent& event);
  // Whole lines of the console's own, of the line that runs.
  void Notice(const std::string& text) { notices_ += text; }
  // All texts, ended by a line feed; empty when there was nothing. Ends what is open.
  std::string Text();
  const std::string& Notices() const { return notices_; }

 private:
  bool isOfChannel_ = false;
  TextFlow flow_;
  std::string text_;
  std::string notices_;
};

}  // namespace kiv
