// WatchView: how the rounds of a watched line are shown.
//
// On a terminal that can move its cursor the last round stands in one place, below what else
// arrives: a row with count and time, then the round's text, rows that are not what they were
// marked. The last round stays when the watch ends. Elsewhere a row with count and time stands in
// front of each round, and behind it the whole text of the first, and what changed in those that
// follow.
//
// Threads: the main thread. Borrows the display. Errors: none.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hosts/bench/reply_diff.h"
#include "hosts/terminal/display.h"

namespace kiv {

struct WatchRound {
  std::uint64_t number = 0;  // from 1
  std::uint64_t skipped = 0;
  std::string timeText;
  bool isFailed = false;
  std::string text;     // fit for showing, of whole lines, as the next
  std::string notices;  // of the console's own
  // Of the reply, where both rounds have one that can be compared.
  std::optional<hostbench::ReplyChanges> changes;
};

// Rows of the text with those marked that `before` does not have at the same place.
std::vector<BlockRow> MarkedRows(const std::string& text, const std::vector<BlockRow>& before);
// What standard output gets of a round where nothing is drawn in place; `before` is the text of the
// last one. A round that failed is shown whole.
std::string RoundText(const WatchRound& round, const std::string& before);

class WatchView {
 public:
  // `head` stands in the first row, in front of count and time.
  WatchView(Display& display, std::string head)
      : display_(display), isInPlace_(display.HasBlock()), head_(std::move(head)) {}

  // No round is there yet; what is shown of that does not stay.
  void Begin();
  void Show(const WatchRound& round);
  // The last round stays where it is.
  void End();

 private:
  Display& display_;
  const bool isInPlace_;
  const std::string head_;
  std::string before_;
  std::vector<BlockRow> rows_;  // with the head
};

}  // namespace kiv
