#include "hosts/terminal/editing_screen.h"

#include <utility>

#include "platform/os/terminal_state.h"

namespace kiv {
namespace {

// So much waits at most for the line to be drawn below it.
constexpr std::size_t kPendingBytes = 64u << 10;
// As a terminal echoes the key where nobody edits.
constexpr char kInterruptMark[] = "^C";

}  // namespace

EditingScreen::EditingScreen(StopRequests& stops, std::unique_ptr<LineEditor> editor,
                             bool noticesMeetTexts)
    : Screen(stops), editor_(std::move(editor)), noticesMeetTexts_(noticesMeetTexts) {
  TakeTerminal();
}

EditingScreen::~EditingScreen() {
  editor_->LeaveTerminal();
  TakeOutput();
  Flush();
  os::ForgetTerminal();
}

void EditingScreen::TakeTerminal() {
  os::NoteTerminal();
  editor_->TakeTerminal();
  os::KeepQueuesAtSignals();
  TakeOutput();
}

void EditingScreen::Flush() {
  if (pending_.empty()) return;
  WriteOut(pending_);
  pending_.clear();
}

// What does not fit into the row is cut by the terminal, which must not go on in the next one.
void EditingScreen::Progress(std::string_view row) {
  HidePrompt();
  if (row.empty()) return;
  isProgressShown_ = true;
  pending_ += "\x1b[?7l" + std::string(row) + "\x1b[?7h";
}

void EditingScreen::HidePrompt() {
  if (isProgressShown_) {
    isProgressShown_ = false;
    pending_ += "\r\x1b[K";
  }
  if (!isPromptShown_) return;
  isPromptShown_ = false;
  editor_->Hide();
  TakeOutput();
}

void EditingScreen::Write(std::string_view bytes) {
  if (bytes.empty()) return;
  HidePrompt();
  pending_ += bytes;
  if (pending_.size() >= kPendingBytes) Flush();
}

void EditingScreen::Notify(std::string_view text) {
  if (noticesMeetTexts_) HidePrompt();
  Flush();
  WriteErr(text);
}

void EditingScreen::ShowPrompt() {
  if (isPromptShown_) return;
  HidePrompt();
  isPromptShown_ = true;
  editor_->Show(Prompt());
  TakeOutput();
}

void EditingScreen::Typed(std::string_view bytes) { editor_->AddKeys(bytes); }

bool EditingScreen::NextLine(LineSource::Line& line) {
  for (;;) {
    if (finished_.Next(line)) return true;
    if (HasInputEnded() || !editor_->HasKeys()) return false;
    ShowPrompt();
    std::string text;
    const LineEditor::Outcome outcome = editor_->Next(text);
    TakeOutput();
    if (outcome == LineEditor::Outcome::kNothing) return false;
    if (outcome == LineEditor::Outcome::kKey) {
      HidePrompt();
      finished_.Add(text + "\n");
      continue;
    }
    isPromptShown_ = false;
    if (outcome == LineEditor::Outcome::kEnd) {
      EndOfInput();
    } else {
      finished_.Add(text + "\n");
    }
  }
}

void EditingScreen::DropTyped() {
  os::DropUnreadKeys();
  if (isPromptShown_) {
    editor_->LeaveRow(kInterruptMark);
    TakeOutput();
  } else {
    pending_ += kInterruptMark + std::string("\n");
  }
  isPromptShown_ = false;
  editor_->Drop();
  TakeOutput();
  finished_ = LineSource();
}

void EditingScreen::Resized() {
  if (!isPromptShown_) return;  // the next Show looks at the size
  editor_->Resized();
  TakeOutput();
}

void EditingScreen::Suspend() {
  if (isPromptShown_) editor_->LeaveRow("");
  isPromptShown_ = false;
  editor_->LeaveTerminal();
  TakeOutput();
  Flush();
  stops_.Suspend();
  TakeTerminal();
}

// Whoever had the terminal meanwhile has left it in a state of its own, on a row of its own.
void EditingScreen::Resumed() {
  isPromptShown_ = false;
  editor_->LeaveTerminal();
  TakeTerminal();
}

void EditingScreen::SetHistory(std::vector<std::string> lines) {
  editor_->SetHistory(std::move(lines));
}

}  // namespace kiv
