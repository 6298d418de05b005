// A typed line taken apart into command word and parameter rest.
//
// Threads: any; no state.
#pragma once

#include <cstddef>

#include "platform/text/qc_string.h"

namespace SvcKivClass {

inline constexpr std::size_t kMaxLineChars = 16463;
inline constexpr std::size_t kMaxWordChars = 80;
inline constexpr std::size_t kMaxRestChars = 16384;
inline constexpr std::size_t kShownLongWordChars = 50;  // of a word beyond kMaxWordChars

// A typed line taken apart, before it is classified.
struct TypedLine {
  QCString word;      // the whole line for a line that begins with "at", in any case
  QCString rest;      // trimmed of spaces
  QCString lastWord;  // the word as split; unset (see `hasLastWord`) when no split took place
  bool hasLastWord = false;
  bool accepted = false;  // false: empty, or line or word too long; `word` is still what to show
};

// Trims spaces, then line feeds, from both ends and drops every line end inside; then splits at the
// first space. What is trimmed does not count against the limits.
TypedLine SplitTypedLine(const QCString& line);

// Results of the script-file test.
inline constexpr int kScriptFile = 0;
inline constexpr int kScriptWordTooShort = 2;
inline constexpr int kScriptOtherSuffix = 10012;
inline constexpr int kScriptFileMissing = 51;

// Whether the word ends with ".hcs" (in any case) and names an existing regular file.
int TestScriptFile(const QCString& word);

}  // namespace SvcKivClass
