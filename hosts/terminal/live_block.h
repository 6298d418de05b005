// LiveBlock: rows that stand below all texts of a terminal and are drawn anew in their place. Each
// is cut to the terminal's width, and what is beyond its height is counted in a last row, so that
// nothing of a block ever scrolls away.
//
// Threads: the main thread. Owns nothing. Errors: none; a terminal of unknown size is 80 by 24.
#pragma once

#include <string>
#include <vector>

#include "platform/os/console_events.h"

namespace kiv {

struct BlockRow {
  std::string text;       // UTF-8 without line ends, fit for showing
  bool isMarked = false;  // stands out
};

class LiveBlock {
 public:
  bool IsDrawn() const { return !drawn_.empty(); }
  // The bytes that draw it, from the first column of a row on. Not while it is drawn.
  std::string Draw(const std::vector<BlockRow>& rows, os::TerminalSize size);
  // The bytes that take it away; the cursor is where the block began. `reflows`: the terminal has
  // laid the rows out anew if its width is another now.
  std::string Erase(os::TerminalSize size, bool reflows);
  // The rows stand where they are for good.
  void Forget() { drawn_.clear(); }

 private:
  std::vector<std::string> drawn_;  // as they were drawn, without what marks them
  int columns_ = 0;                 // of the terminal then
};

}  // namespace kiv
