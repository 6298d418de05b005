// Display: what the console shows, in order: the module's texts as they follow one another, the
// console's own answers, and notices. Everything that is shown goes through here, with its kind
// (shown_kind.h), and comes to
//
//   the screen   without what the user filters out (shown_filter.h), in colours, where the terminal
//                has them, and with the time, where the settings say so (line_painter.h)
//   the log      whole and without colours (auto_log.h)
//
// Threads: the main thread. Borrows the screen. Errors: as Screen and AutoLog; the log's are told
// as notices.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "hosts/terminal/auto_log.h"
#include "hosts/terminal/colour_choice.h"
#include "hosts/terminal/console_settings.h"
#include "hosts/terminal/line_painter.h"
#include "hosts/terminal/screen.h"
#include "hosts/terminal/shown_filter.h"
#include "hosts/terminal/text_flow.h"
#include "hosts/terminal/view_queue.h"

namespace kiv {

class Display {
 public:
  using Clock = std::chrono::steady_clock;

  // `wake` lets a wait of the main thread end, from any thread.
  explicit Display(
      Screen& screen, std::function<void()> wake = [] {});

  // How lines are marked from now on, by what the terminal can.
  void SetColours(ColourDepth depth, const TerminalAbilities& abilities);
  // Colours, times and log as the settings have them; the first call decides on the log of what was
  // shown before.
  void Follow(const ConsoleSettings& settings);
  const ShownFilter& Filter() const { return filter_; }
  // Changes what is shown from now on.
  void ChangeFilter(const std::function<void(ShownFilter& filter)>& change);

  // What the module answered to a typed line, or what the line sends.
  void Reply(const std::string& text, ShownKind kind, std::chrono::system_clock::time_point at) {
    Whole(kind, text, at);
  }
  // A text of the message object: a whole one, or a piece of a channel's.
  void Arrived(const ViewEvent& event);
  // A line that a key or a word brings, and the history of the lines typed in this run gets it:
  // `typed` as it would be typed, shown escaped.
  void Brought(const std::string& typed, const std::string& shown);
  // What a word of the console's own answers.
  void Answer(const std::string& text) { Whole(ShownKind::kAnswer, text); }
  // Standard error: a whole line that begins with "kiv: " or "link: ".
  void Notice(const std::string& text);
  // A line was typed, which stands on the screen as it was typed.
  void TypedLine(const std::string& line);

  // A row that says how far something is; the next text takes its place. Without HasProgress there
  // is none.
  bool HasProgress() const { return screen_.HasProgress(); }
  void Progress(const std::string& row);
  void EndProgress() { screen_.Progress(""); }

  // The same while the prompt is shown: above it, until another or an empty one is given.
  void SetRowAbovePrompt(const std::string& row) { screen_.SetRowAbovePrompt(row); }

  // Rows that stand below all texts until EndBlock; each call draws them anew in their place.
  // Without HasBlock there are none.
  bool HasBlock() const { return screen_.HasBlock(); }
  void Block(std::vector<BlockRow> rows);
  void EndBlock() { Block({}); }

  // The channels' texts have ended.
  void EndPieces();
  // Ends what is open and shows the prompt with the line under edit.
  void ShowPrompt();
  // When to show it: what arrives takes its place, and in the middle of a text more is waited for,
  // so that a line that comes in pieces is not shown as many. Unset: now, or it is there already.
  std::optional<Clock::time_point> WhenToPrompt(std::chrono::milliseconds settle) const;
  // The user's own line end closed the row.
  void RowWasEnded();

  // Brings everything to the terminal and on its way to the log; before each wait.
  void Flush();
  // The log gets what is left; nothing behind it.
  void CloseLog();

 private:
  using StampTime = TimeStamp::Clock::time_point;
  // One way of the texts: how they follow one another there, and how their lines look.
  struct Way {
    TextFlow flow;
    LinePainter painter;
  };
  // A part of a line or more, as it follows what was shown before the settings were there.
  struct Early {
    ShownKind kind;
    std::string text;
    StampTime at;
  };

  bool IsLogWanted() const { return !hasSettings_ || log_.IsWanted(); }
  void SetLineColours();
  void Whole(ShownKind kind, const std::string& text, StampTime at = TimeStamp::Clock::now());
  void ShowWhole(ShownKind kind, const std::string& text, StampTime at);
  void DrawBlock();
  void LogWhole(ShownKind kind, const std::string& text, StampTime at);
  void ShowNotice(const std::string& text, StampTime at);
  void ArrivedPiece(const ViewEvent& event);
  void ToScreen(ShownKind kind, const std::string& text, StampTime at);
  void Log(ShownKind kind, const std::string& text, StampTime at);

  Screen& screen_;
  std::vector<BlockRow> blockRows_;
  ShownFilter filter_;
  Way shown_;
  Way logged_;
  AutoLog log_;
  bool hasSettings_ = false;
  std::vector<Early> early_;
  ColourGroup colours_;
  ColourDepth depth_ = ColourDepth::kNone;
  TerminalAbilities abilities_;
  Clock::time_point pieceShown_;  // when a channel's text came last
};

}  // namespace kiv
