// What TAB brings about in a line that is being typed: what may stand there, how much of it is
// certain, and what a person reads about the place. How it is inserted and listed is the host's.
//
// Nothing that a terminal would act on is ever offered: a name that has such characters cannot be
// typed by its completion.
//
// Threads: any; plain values. Owns its texts. Errors: none; nothing known is nothing offered.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/bench/field_help.h"
#include "hosts/bench/line_guide.h"

namespace hostbench {

// For one place of one line.
struct Completion {
  std::size_t from = 0;  // what stands from here to the cursor is replaced; in wchar_t of the line
  // What is put there in any case: the only candidate, else what all begin with, else what stands
  // there already.
  std::wstring common;
  std::wstring behind;                     // is put behind a candidate that is the only one
  std::vector<FieldCandidate> candidates;  // the best ones first
  std::size_t total = 0;                   // of all candidates, also those beyond the limit
  std::wstring note;    // one line about the place, as it came from the catalogue; not escaped
  bool isPath = false;  // a file's path is typed here: the host knows its files
};

// `cursor` is in wchar_t; what stands behind it is not looked at. Names of commands: those that
// begin with the word; only where there are none, those that do in another case; only where there
// are none, those that resemble it or whose descriptions have it. At most `limit` candidates.
Completion CompleteLine(LineGuide& guide, std::wstring_view line, std::size_t cursor,
                        std::size_t limit);

// For words that the host itself found for what stands from `from` to the line's end.
Completion CompleteWord(std::wstring_view line, std::size_t from,
                        std::vector<FieldCandidate> words);

}  // namespace hostbench
