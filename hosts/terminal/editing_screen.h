// EditingScreen: a terminal with a line under edit. Texts take the line's place and the line comes
// back below them; however many texts there are, the line is drawn once, and all of it is written
// at once (Flush).
//
// The terminal is the editor's from the first to the last moment, also while a line runs: what is
// typed then is not echoed into the texts, it waits for its turn.
//
// Threads: the main thread. Owns the editor. Errors: as Screen.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "hosts/terminal/line_editor.h"
#include "hosts/terminal/screen.h"

namespace kiv {

class EditingScreen final : public Screen {
 public:
  // `noticesMeetTexts`: standard error is the terminal, too.
  EditingScreen(StopRequests& stops, std::unique_ptr<LineEditor> editor, bool noticesMeetTexts);
  ~EditingScreen() override;

  void Write(std::string_view bytes) override;
  void Notify(std::string_view text) override;
  void ShowPrompt() override;
  bool HasProgress() const override { return true; }
  void Progress(std::string_view row) override;
  void SetRowAbovePrompt(const std::string& row) override;
  bool HasBlock() const override { return true; }
  void Block(const std::vector<BlockRow>& rows) override;
  void Flush() override;
  void Typed(std::string_view bytes) override;
  bool HasTyped() const override { return editor_->HasKeys(); }
  std::optional<Clock::time_point> KeysDue() const override { return editor_->KeysDue(); }
  bool ReadsAhead() const override { return true; }
  bool NextLine(LineSource::Line& line) override;
  void DropTyped() override;
  bool IsEchoOfTerminal() const override { return false; }
  void SetActiveColours(std::string begin, std::string end) override;
  void Resized() override;
  void Suspend() override;
  void Resumed() override;
  void SetHistory(std::vector<std::string> lines) override;
  void AddHistory(const std::string& line) override { editor_->AddHistory(line); }
  void SetCompletion(CompletionSource* source) override { editor_->SetCompletion(source); }
  void BindKeys(std::vector<EditorKey> keys) override { editor_->BindKeys(std::move(keys)); }
  void SetTitle(const std::string& title) override;
  void ClearFor(std::string_view typed) override;

 private:
  void TakeTerminal();
  // And the row of a progress.
  void HidePrompt() override;
  // The terminal is as it was before the line under edit was drawn; the rest of the row, too.
  void EndColours();
  void TakeOutput() { pending_ += editor_->TakeOutput(); }

  const std::unique_ptr<LineEditor> editor_;
  const bool noticesMeetTexts_;
  bool isProgressShown_ = false;
  bool isTitleSet_ = false;
  std::string activeBegin_;
  std::string activeEnd_;
  std::string pending_;  // written at the next Flush
  LineSource finished_;  // a finished line may be several
};

}  // namespace kiv
