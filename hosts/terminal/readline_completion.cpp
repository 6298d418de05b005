#include "hosts/terminal/readline_completion.h"

#include <readline/readline.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>
#include <vector>

#include "hosts/bench/candidate_rows.h"
#include "platform/os/utf8.h"
#include "platform/text/shown_text.h"

namespace kiv {
namespace {

constexpr char kBellStyle[] = "bell-style";
constexpr int kListing = '?';  // rl_completion_type of a key that only lists
// Of a screen, for the prompt and what was typed.
constexpr int kRowsForLine = 3;

// Readline frees it.
char* Duplicate(const std::wstring& text) { return ::strdup(os::WideToUtf8(text).c_str()); }

std::string_view NameOf(std::string_view path) { return path.substr(path.rfind('/') + 1); }

}  // namespace

ReadlineCompletion* ReadlineCompletion::current_ = nullptr;

ReadlineCompletion::ReadlineCompletion() {
  current_ = this;
  rl_completion_word_break_hook = OnWordBreaks;
  rl_attempted_completion_function = OnAttempt;
  rl_completion_display_matches_hook = OnDisplay;
}

ReadlineCompletion::~ReadlineCompletion() {
  rl_completion_word_break_hook = nullptr;
  rl_attempted_completion_function = nullptr;
  rl_completion_display_matches_hook = nullptr;
  current_ = nullptr;
}

std::string ReadlineCompletion::TakeRows() {
  hasAsked_ = false;
  if (!bellStyle_.empty()) rl_variable_bind(kBellStyle, bellStyle_.c_str());
  bellStyle_.clear();
  return std::exchange(rows_, {});
}

// Of what is under edit the last line counts: pasted ones stand in front of it.
void ReadlineCompletion::Ask() {
  hasAsked_ = true;
  completion_ = {};
  const std::string before(rl_line_buffer, static_cast<std::size_t>(rl_point));
  fromBytes_ = before.size();
  const std::size_t lineAt = before.rfind('\n') + 1;
  const std::string line = before.substr(lineAt);
  const std::wstring wide = os::Utf8ToWide(line);
  if (source_ == nullptr || os::WideToUtf8(wide) != line) return;
  completion_ = source_->Complete(wide, wide.size());
  fromBytes_ = lineAt + os::WideToUtf8(wide.substr(0, completion_.from)).size();
}

// Readline looks for the beginning of the word by itself: it is behind the character before it.
char* ReadlineCompletion::OnWordBreaks() {
  static char breaks[2] = {};
  current_->Ask();
  const std::size_t from = current_->fromBytes_;
  breaks[0] = from == 0 ? '\0' : rl_line_buffer[from - 1];
  return breaks;
}

char** ReadlineCompletion::OnAttempt(const char*, int start, int) {
  if (!current_->hasAsked_) current_->Ask();
  current_->hasAsked_ = false;
  return current_->Attempt(static_cast<std::size_t>(start));
}

char** ReadlineCompletion::Attempt(std::size_t startBytes) {
  rl_completion_append_character =
      completion_.behind.empty() ? '\0' : static_cast<char>(completion_.behind.front());
  rl_attempted_completion_over = completion_.isPath ? 0 : 1;
  rl_ignore_completion_duplicates = completion_.isPath ? 1 : 0;  // else they would be sorted
  if (completion_.isPath || startBytes != fromBytes_) completion_.candidates.clear();
  const bool isEmpty = completion_.candidates.empty();
  if (isEmpty || rl_completion_type != kListing) AddNote();
  if (!isEmpty) return Matches();
  if (completion_.isPath || completion_.note.empty()) return nullptr;
  // That nothing can be inserted is no fault: the note says what to type.
  const char* const style = rl_variable_value(kBellStyle);
  bellStyle_ = style != nullptr ? style : "";
  rl_variable_bind(kBellStyle, "none");
  return nullptr;
}

char** ReadlineCompletion::Matches() const {
  const auto& candidates = completion_.candidates;
  const bool isOnly = candidates.size() == 1 && completion_.total == 1;
  const std::size_t count = isOnly ? 0 : candidates.size();
  auto** const matches = static_cast<char**>(std::calloc(count + 2, sizeof(char*)));
  if (matches == nullptr) return nullptr;
  matches[0] = Duplicate(completion_.common);
  for (std::size_t i = 0; i < count; ++i) matches[i + 1] = Duplicate(candidates[i].typed);
  return matches;
}

void ReadlineCompletion::AddNote() {
  const std::string note = ShownLine(completion_.note);
  const bool isThere = rl_completion_type == kListing && note == shownNote_;
  if (note.empty() || isThere) return;
  shownNote_ = note;
  rows_ += note + "\n";
}

void ReadlineCompletion::OnDisplay(char** matches, int count, int) {
  current_->AddList(matches, count);
}

void ReadlineCompletion::AddList(char** matches, int count) {
  std::vector<hostbench::FieldCandidate> files;
  for (int i = 1; completion_.isPath && i <= count; ++i) {
    files.push_back({os::Utf8ToWide(NameOf(matches[i])), {}});
  }
  int rows = 0;
  int columns = 0;
  rl_get_screen_size(&rows, &columns);
  const hostbench::ListRoom room{static_cast<std::size_t>(std::max(columns, 1)),
                                 static_cast<std::size_t>(std::max(rows - kRowsForLine, 1))};
  rows_ += completion_.isPath
               ? hostbench::CandidateRows(files, files.size(), room)
               : hostbench::CandidateRows(completion_.candidates, completion_.total, room);
}

}  // namespace kiv
