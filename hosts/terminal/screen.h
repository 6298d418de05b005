// Screen: the user's side of the console: standard output and standard error, the prompt, and what
// is typed.
//
// A text that is written while the prompt is shown takes the place of the prompt and of the line
// under edit; ShowPrompt brings both back. Lines are taken one at a time, so that what was typed
// ahead waits for its turn.
//
// Threads: the main thread. Errors: an output that cannot be written is remembered (IsOutputGone);
// what a signal cuts short is dropped.
#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hosts/terminal/console_texts.h"
#include "hosts/terminal/line_editor.h"
#include "hosts/terminal/line_source.h"
#include "hosts/terminal/live_block.h"
#include "hosts/terminal/stop_requests.h"

namespace kiv {

class Screen {
 public:
  using Clock = std::chrono::steady_clock;

  explicit Screen(StopRequests& stops) : stops_(stops) {}
  virtual ~Screen() = default;
  Screen(const Screen&) = delete;
  Screen& operator=(const Screen&) = delete;

  // Standard output; bytes that are fit for a terminal.
  virtual void Write(std::string_view bytes) = 0;
  // Standard error; whole lines.
  virtual void Notify(std::string_view text) = 0;
  // Nothing happens when it is shown already. The cursor must stand in the first column.
  virtual void ShowPrompt() = 0;
  bool IsPromptShown() const { return isPromptShown_; }
  // A row below all texts, drawn over the one before it; whatever is shown next takes its place.
  // Empty: none. Where HasProgress says no, nothing is drawn.
  virtual bool HasProgress() const { return false; }
  virtual void Progress(std::string_view row) { static_cast<void>(row); }
  // A row above each prompt that is shown from now on, in place of the one before; empty: none. The
  // line under edit stays as it is.
  virtual void SetRowAbovePrompt(const std::string& row) { static_cast<void>(row); }
  // Rows below all texts, drawn in the place of those before; whatever is shown next takes them
  // away. None: nothing is drawn. Where HasBlock says no, nothing ever is.
  virtual bool HasBlock() const { return false; }
  virtual void Block(const std::vector<BlockRow>& rows) { static_cast<void>(rows); }
  bool IsBlockShown() const { return block_.IsDrawn(); }
  // What stands in front of the line; one that is shown is shown anew.
  void SetPrompt(std::string prompt);
  // Title of the terminal's window, of characters that are fit for a terminal; empty: as it was.
  // Where there is no such window nothing happens.
  virtual void SetTitle(const std::string& title) { static_cast<void>(title); }
  // Clears the terminal and shows there what was typed. Where the output is more than a screen
  // nothing happens.
  virtual void ClearFor(std::string_view typed) { static_cast<void>(typed); }
  // How the line under edit looks: what stands in front of the prompt and behind the line. Where
  // nothing is edited, nothing.
  virtual void SetActiveColours(std::string begin, std::string end) {
    static_cast<void>(begin);
    static_cast<void>(end);
  }
  const std::string& Prompt() const { return prompt_; }
  // Brings what was written to the terminal at the latest; before each wait.
  virtual void Flush() {}

  // Bytes that were typed, and that no more will come.
  virtual void Typed(std::string_view bytes) = 0;
  virtual void EndOfInput() { hasInputEnded_ = true; }
  // Whether no more is typed: the user said so, or the terminal is gone.
  bool HasInputEnded() const { return hasInputEnded_; }
  // Whether something that was typed waits for the prompt to be shown.
  virtual bool HasTyped() const { return false; }
  // Until when some of that is held back, because more of it may come; NextLine then looks at it.
  virtual std::optional<Clock::time_point> KeysDue() const { return std::nullopt; }
  // Whether what is typed while a line runs is to be read then: the terminal keeps little.
  virtual bool ReadsAhead() const { return false; }
  // The next whole line; false when there is none yet.
  virtual bool NextLine(LineSource::Line& line) = 0;
  // Forgets what was typed and goes to a new row.
  virtual void DropTyped() = 0;
  // Whether the terminal itself has shown what was typed, and so ended a line of text that was
  // open.
  virtual bool IsEchoOfTerminal() const = 0;

  // The terminal has another size; Ctrl-Z: gives the terminal back while the process is stopped;
  // the process was stopped by somebody else and goes on.
  virtual void Resized() {}
  virtual void Suspend() {}
  virtual void Resumed() {}
  // The lines of earlier runs, oldest first, for those who can bring them back.
  virtual void SetHistory(std::vector<std::string> lines) { static_cast<void>(lines); }
  // A line of this run that was not typed whole.
  virtual void AddHistory(const std::string& line) { static_cast<void>(line); }
  // Whom completion asks, where there is one.
  virtual void SetCompletion(CompletionSource* source) { static_cast<void>(source); }
  // Keys with a meaning of their own, in place of those before. A key's line comes from NextLine
  // while what is under edit stays.
  virtual void BindKeys(std::vector<EditorKey> keys) { static_cast<void>(keys); }

  bool IsOutputGone() const { return isOutputGone_; }

 protected:
  // Standard output that nobody reads must not keep from ending: what a signal asks for is noted.
  void WriteOut(std::string_view bytes);
  void WriteErr(std::string_view bytes);
  // Takes prompt and line under edit away; nothing happens when they are not shown.
  virtual void HidePrompt() = 0;

  StopRequests& stops_;
  bool isPromptShown_ = false;
  LiveBlock block_;

 private:
  std::string prompt_ = kPrompt;
  bool isOutputGone_ = false;
  bool hasInputEnded_ = false;
};

}  // namespace kiv
