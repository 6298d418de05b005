// LineEditor: the line under edit on a terminal, prompt and all. It takes keys, hands out finished
// lines, and says with which bytes the terminal shows all this; who owns the terminal writes them.
//
// The line can be taken away and brought back at any time, so that a text may take its place. While
// it is away nothing is written.
//
// Threads: the main thread. Errors: none.
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kiv {

class CompletionSource;

// A key that does something else here than the editor knows.
struct EditorKey {
  std::string sequence;            // the bytes that the terminal sends for it
  const char* function = nullptr;  // of the editor's own, by its name in an inputrc; else `line`
  std::string line = {};           // what Next hands out with kKey
  bool yields = false;             // to what the user's inputrc has for it
};

class LineEditor {
 public:
  using Clock = std::chrono::steady_clock;
  // What has come of the keys so far.
  enum class Outcome { kNothing, kLine, kKey, kEnd };

  virtual ~LineEditor() = default;

  // The terminal is the editor's (no echo, keys come as they are typed), or is as it was before.
  virtual void TakeTerminal() = 0;
  virtual void LeaveTerminal() = 0;

  // Draws prompt and line from the first column on. Not while they are shown.
  virtual void Show(const std::string& prompt) = 0;
  // Erases them; the cursor is then where the prompt began.
  virtual void Hide() = 0;
  // Writes `mark` behind them, goes to the row below and leaves them there, as a line end does.
  virtual void LeaveRow(const char* mark) = 0;
  // The terminal has another size; prompt and line are shown.
  virtual void Resized() = 0;
  // A row that is shown above them from now on, in place of the one before; empty: none. With
  // `isShown` they are shown: another row is drawn where the one before stands, and they stay as
  // they are. What ends the line under edit takes the row away.
  virtual void SetRowAbove(const std::string& row, bool isShown) = 0;

  // Keys wait until Next takes them; what stands behind a line's end waits for the next call.
  virtual void AddKeys(std::string_view keys) = 0;
  virtual bool HasKeys() const = 0;
  // While prompt and line are shown. kLine: `line` is finished, which may have line feeds in it;
  // the cursor is on the row below. kKey: a bound key stands for `line`, and what is under edit
  // stays. kEnd: the user ended the input.
  virtual Outcome Next(std::string& line) = 0;
  // Until when an Esc that may yet begin another key's bytes is held back; Next then takes it.
  virtual std::optional<Clock::time_point> KeysDue() const = 0;
  // Forgets the line and all keys that wait.
  virtual void Drop() = 0;

  // What was typed in earlier runs, oldest first; lines of this run stand behind.
  virtual void SetHistory(std::vector<std::string> lines) = 0;
  // A line of this run that was not typed whole: a key or a word brought it.
  virtual void AddHistory(const std::string& line) = 0;
  // Whom the completion keys ask, also when the user's inputrc binds others; null: nobody.
  // Borrowed.
  virtual void SetCompletion(CompletionSource* source) = 0;
  // In place of the keys bound before, which do again what they did.
  virtual void BindKeys(std::vector<EditorKey> keys) = 0;

  // What is to be written, since the last call.
  virtual std::string TakeOutput() = 0;
};

// Null where the terminal cannot move its cursor, or is of an unknown kind. One a process.
std::unique_ptr<LineEditor> MakeLineEditor();

}  // namespace kiv
