// ReadlineCompletion: what a CompletionSource offers, in readline's manner: the keys and settings
// of the user's inputrc decide when it is inserted and when it is listed. What is to be read, a
// note or a list, is kept until the key is done with, so that it can be put above the line.
//
// Threads: the main thread. Readline is one a process, so is this. Borrows the source.
// Errors: none; without memory nothing is offered.
#pragma once

#include <cstddef>
#include <string>

#include "hosts/terminal/completion_source.h"

namespace kiv {

class ReadlineCompletion {
 public:
  // Before rl_initialize.
  ReadlineCompletion();
  ~ReadlineCompletion();
  ReadlineCompletion(const ReadlineCompletion&) = delete;
  ReadlineCompletion& operator=(const ReadlineCompletion&) = delete;

  void SetSource(CompletionSource* source) { source_ = source; }
  // After each key: whole rows that belong above the line, fit for a terminal; empty: none.
  std::string TakeRows();
  // Texts may have come between the line and the rows above it.
  void RowsMoved() { shownNote_.clear(); }

 private:
  static char* OnWordBreaks();
  static char** OnAttempt(const char* text, int start, int end);
  static void OnDisplay(char** matches, int count, int widest);

  void Ask();
  char** Attempt(std::size_t startBytes);
  char** Matches() const;
  // Puts the note into the rows, unless it stands there already.
  void AddNote();
  void AddList(char** matches, int count);

  static ReadlineCompletion* current_;
  CompletionSource* source_ = nullptr;
  hostbench::Completion completion_;
  std::size_t fromBytes_ = 0;  // of rl_line_buffer, where it begins
  bool hasAsked_ = false;      // for the key that is being done
  std::string rows_;
  std::string shownNote_;
  std::string bellStyle_;  // the user's, while the bell is silent; else empty
};

}  // namespace kiv
