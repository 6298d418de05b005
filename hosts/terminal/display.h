// Display: what the console shows, in order: the module's texts as they follow one another, the
// console's own answers, and notices. Everything that is shown goes through here, with its kind.
//
// Threads: the main thread. Borrows the screen. Errors: as Screen.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "hosts/terminal/screen.h"
#include "hosts/terminal/text_flow.h"
#include "hosts/terminal/view_queue.h"

namespace kiv {

class Display {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Display(Screen& screen) : screen_(screen) {}

  // What the module answered to a typed line.
  void Reply(const std::string& text) { Whole(text); }
  // A text of the message object: a whole one, or a piece of a channel's.
  void Arrived(const ViewEvent& event);
  // What a word of the console's own answers.
  void Answer(const std::string& text) { Whole(text); }
  // Standard error: a whole line that begins with "kiv: " or "link: ".
  void Notice(const std::string& text);

  // A row that says how far something is; the next text takes its place. Without HasProgress there
  // is none.
  bool HasProgress() const { return screen_.HasProgress(); }
  void Progress(const std::string& row);
  void EndProgress() { screen_.Progress(""); }

  // Rows that stand below all texts until EndBlock; each call draws them anew in their place.
  // Without HasBlock there are none.
  bool HasBlock() const { return screen_.HasBlock(); }
  void Block(std::vector<BlockRow> rows);
  void EndBlock() { Block({}); }

  // What was shown is with the terminal, or the reader of the pipe, when it returns.
  void Flush();

  // The channels' texts have ended.
  void EndPieces() { screen_.Write(flow_.EndAll()); }
  // Ends what is open and shows the prompt with the line under edit.
  void ShowPrompt();
  // When to show it: what arrives takes its place, and in the middle of a text more is waited for,
  // so that a line that comes in pieces is not shown as many. Unset: now, or it is there already.
  std::optional<Clock::time_point> WhenToPrompt(std::chrono::milliseconds settle) const;
  // The user's own line end closed the row.
  void RowWasEnded() { flow_.LineWasEnded(); }

 private:
  void Whole(const std::string& text) { screen_.Write(flow_.Whole(text)); }

  void DrawBlock();

  Screen& screen_;
  TextFlow flow_;
  std::vector<BlockRow> blockRows_;
  Clock::time_point pieceShown_;  // when a channel's text came last
};

}  // namespace kiv
