// The line editor over GNU readline's callback interface. Readline is one a process and keeps its
// state in globals; this file and that of its completion alone know it.
#include <readline/history.h>
#include <readline/readline.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "hosts/terminal/line_editor.h"
#include "hosts/terminal/line_rows.h"
#include "hosts/terminal/live_block.h"
#include "hosts/terminal/readline_completion.h"
#include "platform/os/utf8_codec.h"

namespace kiv {
namespace {

constexpr char kPasteBegin[] = "\x1b[200~";
constexpr std::string_view kPasteEnd = "\x1b[201~";
constexpr std::string_view kLineEnds = "\r\n";
// Keys that may end the line under edit.
constexpr std::string_view kEndKeys = "\r\n\x04";
// What is erased gets no colour of the line under edit; the prompt brings that back.
constexpr char kNoColours[] = "\x1b[m";

constexpr std::string_view kEscape = "\x1b";

// What a key did before it was bound.
struct KeyBefore {
  std::string sequence;
  Keymap map = nullptr;
  rl_command_func_t* function = nullptr;  // null: nothing, or the macro
  std::optional<std::string> macro = {};
};

// How readline takes the bytes of a sequence: a backslash begins a name there.
std::string Quoted(const std::string& sequence) {
  std::string quoted;
  for (const char byte : sequence) {
    if (byte == '\\') quoted += '\\';
    quoted += byte;
  }
  return quoted;
}

// What a key does that was bound and is no more. Readline loses the table of keys that it takes
// away together with the last function in it, so a function stays there.
int OnUnboundKey(int, int) { return rl_ding(); }

void Restore(const KeyBefore& key) {
  const std::string sequence = Quoted(key.sequence);
  if (key.macro) {
    rl_generic_bind(ISMACR, sequence.c_str(), ::strdup(key.macro->c_str()), key.map);
  } else {
    rl_bind_keyseq_in_map(sequence.c_str(), key.function != nullptr ? key.function : OnUnboundKey,
                          key.map);
  }
}

// How long readline itself waits for the rest of a key's bytes; 0: for ever.
std::chrono::milliseconds RestOfKeyTimeout() {
  const char* const text = rl_variable_value("keyseq-timeout");
  return std::chrono::milliseconds(text != nullptr ? std::max(std::atoi(text), 0) : 0);
}

class ReadlineEditor final : public LineEditor {
 public:
  ReadlineEditor();
  ~ReadlineEditor() override;
  // Whether the terminal can do what showing and hiding take.
  bool IsUsable() const { return isUsable_; }

  void TakeTerminal() override;
  void LeaveTerminal() override { rl_deprep_terminal(); }
  void Show(const std::string& prompt) override;
  void Hide() override;
  void LeaveRow(const char* mark) override;
  void Resized() override;
  void SetRowAbove(const std::string& row, bool isShown) override;
  void AddKeys(std::string_view keys) override;
  bool HasKeys() const override { return from_ < keys_.size(); }
  Outcome Next(std::string& line) override;
  void Drop() override;
  std::optional<Clock::time_point> KeysDue() const override;
  void SetHistory(std::vector<std::string> lines) override;
  void SetCompletion(CompletionSource* source) override { completion_.SetSource(source); }
  void AddHistory(const std::string& line) override;
  void BindKeys(std::vector<EditorKey> keys) override;
  std::string TakeOutput() override;

 private:
  static void OnLine(char* line);
  static int OnPasteBegin(int, int);
  static int OnGetKey(FILE*);
  static int OnInputAvailable();
  static int OnBoundKey(int, int);

  std::string_view Keys() const { return std::string_view(keys_).substr(from_); }
  // Whether a whole character, or what is none, waits.
  bool HasWholeKey() const;
  // Takes pasted text up to a line's end, or as much as there is; false when nothing is left to do.
  bool TakePaste();
  void InsertPasted(std::string_view text);
  void Bind(const EditorKey& key, Keymap map);
  void Press(const EditorKey& key);
  void PressEscape();
  const EditorKey* KeyOf(std::string_view sequence) const;
  // Whether all that waits is an Esc for which there is a row.
  bool IsEscapeAlone() const;
  // Takes one key; what it wants read stands above the line then.
  void TakeKey();
  // The row above the line, with the cursor in the first column of the prompt's row.
  void DrawRowAbove();
  void EraseRowAbove();
  // Takes it away while prompt and line are shown; the next Show or SetRowAbove brings it back.
  void TakeRowAway();
  // Everything, with `rows` above it for good.
  void DrawAnew(const std::string& rows);
  void DrawRowInPlace();
  void BeginLine();
  void TakeNewHistory();
  void FillHistory();
  LinePosition CursorPosition() const { return PositionAt(rl_point); }
  LinePosition PositionAt(int point) const;

  static ReadlineEditor* current_;
  ReadlineCompletion completion_;
  std::FILE* output_ = nullptr;
  char* outputBytes_ = nullptr;
  std::size_t outputLengthBytes_ = 0;
  bool isUsable_ = false;

  std::string keys_;
  std::size_t from_ = 0;  // keys in front of it are taken
  bool isPasting_ = false;
  bool isLineBegun_ = false;  // readline has a line under edit
  std::string prompt_;
  std::string rowText_;  // above it; empty: none
  LiveBlock rowAbove_;
  Outcome outcome_ = Outcome::kNothing;
  std::string line_;
  std::vector<std::string> earlier_;  // lines of earlier runs
  std::vector<std::string> entered_;  // of this run
  bool hasNewHistory_ = false;        // that readline does not have yet
  std::vector<EditorKey> bound_;
  std::vector<KeyBefore> before_;  // what the bound keys did
  Clock::time_point escapeDue_;
};

ReadlineEditor* ReadlineEditor::current_ = nullptr;

ReadlineEditor::ReadlineEditor() {
  output_ = ::open_memstream(&outputBytes_, &outputLengthBytes_);
  if (output_ == nullptr) return;
  current_ = this;
  rl_readline_name = "kiv";
  rl_instream = stdin;
  rl_outstream = output_;
  rl_catch_signals = 0;
  rl_catch_sigwinch = 0;
  rl_change_environment = 0;
  rl_getc_function = OnGetKey;
  rl_input_available_hook = OnInputAvailable;
  // The terminal stays as it is from one line to the next.
  rl_prep_term_function = nullptr;
  rl_deprep_term_function = nullptr;
  rl_add_defun("kiv-bracketed-paste", OnPasteBegin, -1);
  rl_initialize();
  for (Keymap map : {emacs_standard_keymap, vi_insertion_keymap, vi_movement_keymap}) {
    rl_bind_keyseq_in_map(kPasteBegin, OnPasteBegin, map);
  }
  using_history();
  char up[] = "up";
  char clear[] = "ce";
  isUsable_ = rl_get_termcap(up) != nullptr && rl_get_termcap(clear) != nullptr;
}

ReadlineEditor::~ReadlineEditor() {
  if (output_ == nullptr) return;
  rl_callback_handler_remove();
  rl_outstream = stdout;
  current_ = nullptr;
  std::fclose(output_);
  std::free(outputBytes_);
}

std::string ReadlineEditor::TakeOutput() {
  std::fflush(output_);
  std::string taken(outputBytes_, outputLengthBytes_);
  std::rewind(output_);
  return taken;
}

void ReadlineEditor::BeginLine() {
  isLineBegun_ = true;
  if (hasNewHistory_) FillHistory();
  rl_reset_screen_size();
  rl_callback_handler_install(prompt_.c_str(), OnLine);
}

// Whoever had the terminal before has moved everything.
void ReadlineEditor::TakeTerminal() {
  rowAbove_.Forget();
  rl_prep_terminal(1);
}

void ReadlineEditor::Show(const std::string& prompt) {
  prompt_ = prompt;
  DrawRowAbove();
  if (!isLineBegun_) return BeginLine();
  rl_set_prompt(prompt_.c_str());
  rl_reset_screen_size();
  rl_on_new_line();
  rl_forced_update_display();
}

void ReadlineEditor::Hide() {
  rl_clear_visible_line();
  EraseRowAbove();
  completion_.RowsMoved();
}

void ReadlineEditor::DrawRowAbove() {
  rowAbove_.Forget();
  if (rowText_.empty()) return;
  const std::string row = rowAbove_.Draw({{rowText_}}, os::ConsoleEvents::OutputSize());
  std::fputs((row + "\n").c_str(), output_);
}

void ReadlineEditor::EraseRowAbove() {
  if (!rowAbove_.IsDrawn()) return;
  const std::string erase = rowAbove_.Erase(os::ConsoleEvents::OutputSize(), TerminalReflows());
  std::fputs((kNoColours + ("\x1b[A" + erase)).c_str(), output_);
}

void ReadlineEditor::TakeRowAway() {
  if (!rowAbove_.IsDrawn()) return;
  rl_clear_visible_line();
  EraseRowAbove();
  rl_on_new_line();
  rl_forced_update_display();
}

void ReadlineEditor::DrawAnew(const std::string& rows) {
  rl_clear_visible_line();
  EraseRowAbove();
  std::fputs(rows.c_str(), output_);
  DrawRowAbove();
  rl_on_new_line();
  rl_forced_update_display();
}

// A search through the history and its like would not survive that everything is drawn anew. A row
// that was pushed off the screen stays as it is.
void ReadlineEditor::DrawRowInPlace() {
  int rows = 0;
  int columns = 0;
  rl_get_screen_size(&rows, &columns);
  if (PositionAt(rl_end).row + 2 > rows) return;
  const LinePosition cursor = CursorPosition();
  rowAbove_.Forget();
  const std::string row = rowAbove_.Draw({{rowText_}}, os::ConsoleEvents::OutputSize());
  std::fprintf(output_, "\x1b[%dA\r%s\x1b[K\x1b[%dB\r", cursor.row + 1, row.c_str(),
               cursor.row + 1);
  if (cursor.column > 0) std::fprintf(output_, "\x1b[%dC", cursor.column);
}

void ReadlineEditor::SetRowAbove(const std::string& row, bool isShown) {
  const bool isNew = std::exchange(rowText_, row) != row;
  if (!isShown || (!isNew && rowAbove_.IsDrawn() == !row.empty())) return;
  if (rowAbove_.IsDrawn() && !row.empty()) {
    DrawRowInPlace();
  } else {
    DrawAnew("");
  }
}

void ReadlineEditor::TakeKey() {
  // Readline may take several keys at once.
  if (Keys().find_first_of(kEndKeys) != std::string_view::npos) TakeRowAway();
  rl_callback_read_char();
  const bool isCleared = rl_last_func == rl_clear_screen || rl_last_func == rl_clear_display;
  const bool isRowGone = rowAbove_.IsDrawn() && isCleared;
  if (isRowGone) rowAbove_.Forget();
  const std::string rows = completion_.TakeRows();
  if (isLineBegun_ && (isRowGone || !rows.empty())) DrawAnew(rows);
}

LinePosition ReadlineEditor::PositionAt(int point) const {
  int rows = 0;
  int columns = 0;
  rl_get_screen_size(&rows, &columns);
  return PositionBehind(std::string(rl_display_prompt) + std::string(rl_line_buffer, point),
                        columns);
}

void ReadlineEditor::LeaveRow(const char* mark) {
  TakeRowAway();
  const int point = rl_point;
  rl_point = rl_end;
  rl_redisplay();
  std::fputs(mark, output_);
  rl_crlf();
  rl_point = point;
}

void ReadlineEditor::Resized() {
  // What stands above the cursor, as it was drawn and as the terminal may have laid it out anew. Of
  // the two the lower: rows of texts above the prompt must not be lost.
  const LinePosition before = CursorPosition();
  rl_reset_screen_size();
  const LinePosition after = CursorPosition();
  std::fputs("\r", output_);
  const int rowsUp = TerminalReflows() ? after.row : std::min(before.row, after.row);
  if (rowsUp > 0) std::fprintf(output_, "\x1b[%dA", rowsUp);
  std::fputs("\x1b[J", output_);
  EraseRowAbove();
  DrawRowAbove();
  rl_on_new_line();
  rl_forced_update_display();
}

void ReadlineEditor::OnLine(char* line) {
  ReadlineEditor& self = *current_;
  self.outcome_ = line == nullptr ? Outcome::kEnd : Outcome::kLine;
  if (line != nullptr) self.line_ = line;
  std::free(line);
  self.isLineBegun_ = false;
  rl_callback_handler_remove();
}

int ReadlineEditor::OnPasteBegin(int, int) {
  current_->isPasting_ = true;
  return 0;
}

int ReadlineEditor::OnGetKey(FILE*) {
  ReadlineEditor& self = *current_;
  if (!self.HasKeys()) return EOF;
  return static_cast<unsigned char>(self.keys_[self.from_++]);
}

// An Esc that may be a key stays here: readline takes what waits behind a typed character with it,
// and would begin another key with that Esc.
int ReadlineEditor::OnInputAvailable() {
  return current_->HasKeys() && !current_->IsEscapeAlone() ? 1 : 0;
}

bool ReadlineEditor::HasWholeKey() const {
  const std::string_view keys = Keys();
  if (keys.empty()) return false;
  const auto lead = os::utf8_codec::ClassifyLead(static_cast<unsigned char>(keys.front()));
  if (lead.lengthBytes <= keys.size()) return true;
  // Cut short by something else than the end: it is no character.
  return os::utf8_codec::DecodeOne(keys).lengthBytes != keys.size();
}

void ReadlineEditor::InsertPasted(std::string_view text) {
  if (text.empty()) return;
  // A zero byte would end the line that readline hands out.
  std::string whole(text);
  std::replace(whole.begin(), whole.end(), '\0', ' ');
  rl_insert_text(whole.c_str());
}

bool ReadlineEditor::TakePaste() {
  const std::string_view keys = Keys();
  const std::size_t lineEnd = std::min(keys.find_first_of(kLineEnds), keys.size());
  const std::size_t pasteEnd = std::min(keys.find(kPasteEnd), keys.size());
  if (pasteEnd < lineEnd) {
    InsertPasted(keys.substr(0, pasteEnd));
    from_ += pasteEnd + kPasteEnd.size();
    isPasting_ = false;
    rl_redisplay();
    return true;
  }
  if (lineEnd < keys.size()) {
    // A carriage return and a line feed behind it are one end, and may come apart.
    const bool isReturn = keys[lineEnd] == '\r';
    if (isReturn && lineEnd + 1 == keys.size()) return false;
    const bool isPair = isReturn && keys[lineEnd + 1] == '\n';
    InsertPasted(keys.substr(0, lineEnd));
    from_ += lineEnd + (isPair ? 1 : 0);
    keys_[from_] = '\n';
    TakeRowAway();
    rl_redisplay();
    rl_callback_read_char();  // the line's end, as a key
    return true;
  }
  return false;
}

void ReadlineEditor::AddKeys(std::string_view keys) {
  keys_ += keys;
  escapeDue_ = Clock::now() + RestOfKeyTimeout();
}

const EditorKey* ReadlineEditor::KeyOf(std::string_view sequence) const {
  const auto key = std::find_if(bound_.begin(), bound_.end(), [sequence](const EditorKey& row) {
    return row.sequence == sequence;
  });
  return key != bound_.end() ? &*key : nullptr;
}

// In vi's manner Esc has a meaning of its own; so it has behind the first byte of another key.
bool ReadlineEditor::IsEscapeAlone() const {
  return Keys() == kEscape && rl_editing_mode == 1 && !RL_ISSTATE(RL_STATE_MULTIKEY) &&
         RestOfKeyTimeout().count() > 0 && KeyOf(kEscape) != nullptr;
}

std::optional<LineEditor::Clock::time_point> ReadlineEditor::KeysDue() const {
  if (isPasting_ || !IsEscapeAlone()) return std::nullopt;
  return escapeDue_;
}

void ReadlineEditor::Press(const EditorKey& key) {
  if (key.function == nullptr) {
    outcome_ = Outcome::kKey;
    line_ = key.line;
  } else if (rl_command_func_t* const function = rl_named_function(key.function)) {
    function(1, 0);
    rl_redisplay();
  }
}

// It ends a search, as it always does.
void ReadlineEditor::PressEscape() {
  if (RL_ISSTATE(RL_STATE_ISEARCH)) return rl_callback_read_char();
  ++from_;
  Press(*KeyOf(kEscape));
}

int ReadlineEditor::OnBoundKey(int, int) {
  const std::string_view sequence(rl_executing_keyseq,
                                  static_cast<std::size_t>(rl_key_sequence_length));
  if (const EditorKey* const key = current_->KeyOf(sequence)) current_->Press(*key);
  return 0;
}

// What only begins other keys stays as it is.
void ReadlineEditor::Bind(const EditorKey& key, Keymap map) {
  KeyBefore before{key.sequence, map};
  int type = ISFUNC;
  rl_command_func_t* function =
      rl_function_of_keyseq_len(key.sequence.data(), key.sequence.size(), map, &type);
  if (type == ISFUNC && function == OnUnboundKey) function = nullptr;
  if (type == ISKMAP || (key.yields && function != nullptr)) return;
  if (type == ISMACR) {
    before.macro = reinterpret_cast<const char*>(function);
  } else {
    before.function = function;
  }
  before_.push_back(std::move(before));
  rl_command_func_t* const own =
      key.function != nullptr ? rl_named_function(key.function) : nullptr;
  rl_bind_keyseq_in_map(Quoted(key.sequence).c_str(), own != nullptr ? own : OnBoundKey, map);
}

void ReadlineEditor::BindKeys(std::vector<EditorKey> keys) {
  for (auto before = before_.rbegin(); before != before_.rend(); ++before) Restore(*before);
  before_.clear();
  bound_ = std::move(keys);
  for (const EditorKey& key : bound_) {
    for (Keymap map : {emacs_standard_keymap, vi_insertion_keymap, vi_movement_keymap}) {
      Bind(key, map);
    }
  }
}

LineEditor::Outcome ReadlineEditor::Next(std::string& line) {
  outcome_ = Outcome::kNothing;
  while (outcome_ == Outcome::kNothing) {
    if (isPasting_) {
      if (!TakePaste()) break;
    } else if (IsEscapeAlone()) {
      if (Clock::now() < escapeDue_) break;
      PressEscape();
    } else {
      if (!HasWholeKey()) break;
      TakeKey();
    }
  }
  if (from_ == keys_.size() || from_ > keys_.size() / 2) {
    keys_.erase(0, from_);
    from_ = 0;
  }
  if (outcome_ != Outcome::kLine && outcome_ != Outcome::kKey) return outcome_;
  line = std::move(line_);
  if (outcome_ == Outcome::kKey) return outcome_;
  if (!line.empty() && (entered_.empty() || entered_.back() != line)) {
    add_history(line.c_str());
    entered_.push_back(line);
  }
  return outcome_;
}

void ReadlineEditor::Drop() {
  keys_.clear();
  from_ = 0;
  isPasting_ = false;
  if (!isLineBegun_) return;
  // Readline shows on the way what it goes back to; nobody is to see that.
  const std::string shown = TakeOutput();
  rl_callback_sigcleanup();
  rl_free_line_state();
  rl_replace_line("", 1);
  rl_clear_message();
  rl_callback_handler_remove();
  isLineBegun_ = false;
  TakeOutput();
  std::fputs(shown.c_str(), output_);
}

void ReadlineEditor::AddHistory(const std::string& line) {
  if (!entered_.empty() && entered_.back() == line) return;
  entered_.push_back(line);
  TakeNewHistory();
}

void ReadlineEditor::SetHistory(std::vector<std::string> lines) {
  earlier_ = std::move(lines);
  TakeNewHistory();
}

void ReadlineEditor::TakeNewHistory() {
  hasNewHistory_ = true;
  // A line that is begun may be one of the history's, or a search through it.
  if (!isLineBegun_ || (rl_end == 0 && !RL_ISSTATE(RL_STATE_ISEARCH))) FillHistory();
}

void ReadlineEditor::FillHistory() {
  hasNewHistory_ = false;
  rl_clear_history();
  for (const std::string& line : earlier_) add_history(line.c_str());
  for (const std::string& line : entered_) add_history(line.c_str());
  using_history();
}

}  // namespace

std::unique_ptr<LineEditor> MakeLineEditor() {
  auto editor = std::make_unique<ReadlineEditor>();
  if (!editor->IsUsable()) return nullptr;
  return editor;
}

}  // namespace kiv
