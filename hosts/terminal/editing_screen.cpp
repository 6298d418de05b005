#include "hosts/terminal/editing_screen.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <utility>

#include "hosts/terminal/line_rows.h"
#include "platform/os/terminal_state.h"
#include "platform/os/utf8.h"

namespace kiv {
namespace {

// So much waits at most for the line to be drawn below it.
constexpr std::size_t kPendingBytes = 64u << 10;
// As a terminal echoes the key where nobody edits.
constexpr char kInterruptMark[] = "^C";

// Terminals whose window has a title that programs may set and bring back.
constexpr std::string_view kTitled[] = {"xterm",   "rxvt",  "alacritty", "foot", "kitty",
                                        "konsole", "gnome", "vte",       "st-",  "tmux"};
constexpr char kKeepTitle[] = "\x1b[22;2t";
constexpr char kTitleAsKept[] = "\x1b[23;2t";

bool HasTitle() {
  const char* const terminal = std::getenv("TERM");
  if (terminal == nullptr) return false;
  return std::any_of(std::begin(kTitled), std::end(kTitled), [terminal](std::string_view name) {
    return std::string_view(terminal).starts_with(name);
  });
}

}  // namespace

EditingScreen::EditingScreen(StopRequests& stops, std::unique_ptr<LineEditor> editor,
                             bool noticesMeetTexts)
    : Screen(stops), editor_(std::move(editor)), noticesMeetTexts_(noticesMeetTexts) {
  TakeTerminal();
}

EditingScreen::~EditingScreen() {
  SetTitle("");
  if (isPromptShown_) pending_ += activeEnd_;
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

void EditingScreen::SetRowAbovePrompt(const std::string& row) {
  editor_->SetRowAbove(row, isPromptShown_);
  std::string bytes = editor_->TakeOutput();
  if (!bytes.empty()) pending_ += activeEnd_ + bytes + activeBegin_;
}

void EditingScreen::Block(const std::vector<BlockRow>& rows) {
  HidePrompt();
  if (!rows.empty()) pending_ += block_.Draw(rows, os::ConsoleEvents::OutputSize());
}

void EditingScreen::HidePrompt() {
  pending_ += block_.Erase(os::ConsoleEvents::OutputSize(), TerminalReflows());
  if (isProgressShown_) {
    isProgressShown_ = false;
    pending_ += "\r\x1b[K";
  }
  if (!isPromptShown_) return;
  isPromptShown_ = false;
  pending_ += activeEnd_;  // the rows that are cleared get no colour
  editor_->Hide();
  TakeOutput();
}

void EditingScreen::SetActiveColours(std::string begin, std::string end) {
  if (begin.empty()) end.clear();
  if (!begin.empty()) os::NoteColours();
  activeBegin_ = std::move(begin);
  activeEnd_ = std::move(end);
}

void EditingScreen::EndColours() {
  if (!activeEnd_.empty()) pending_ += activeEnd_ + "\x1b[K";
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
  // What stands between these marks takes no room in a prompt.
  const std::string begin = activeBegin_.empty() ? std::string() : "\001" + activeBegin_ + "\002";
  editor_->Show(begin + Prompt());
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
      line = {os::Utf8ToWide(text)};
      line.isOfKey = true;
      return true;
    }
    isPromptShown_ = false;
    EndColours();
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
    EndColours();
  } else {
    pending_ += kInterruptMark + std::string("\n");
  }
  isPromptShown_ = false;
  editor_->Drop();
  TakeOutput();
  finished_ = LineSource();
}

void EditingScreen::Resized() {
  if (IsBlockShown()) HidePrompt();  // who shows it draws it again
  if (!isPromptShown_) return;       // the next Show looks at the size
  editor_->Resized();
  TakeOutput();
}

void EditingScreen::Suspend() {
  if (IsBlockShown()) HidePrompt();
  const bool wasShown = isPromptShown_;
  if (wasShown) editor_->LeaveRow("");
  TakeOutput();
  if (wasShown) EndColours();
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
  block_.Forget();
  editor_->LeaveTerminal();
  TakeTerminal();
}

void EditingScreen::SetTitle(const std::string& title) {
  if (!HasTitle() || (title.empty() && !isTitleSet_)) return;
  if (!isTitleSet_) pending_ += kKeepTitle;
  pending_ += title.empty() ? kTitleAsKept : "\x1b]2;" + title + "\x07";
  isTitleSet_ = !title.empty();
}

// What stood there before is in the terminal's own memory of lines.
void EditingScreen::ClearFor(std::string_view typed) {
  HidePrompt();
  pending_ += "\x1b[H\x1b[2J" + Prompt() + std::string(typed) + "\n";
}

void EditingScreen::SetHistory(std::vector<std::string> lines) {
  editor_->SetHistory(std::move(lines));
}

}  // namespace kiv
