// The arguments of the memory's words, taken apart.
//
// Threads: any; no state. Errors: unset where the text is not what it should be.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "hosts/terminal/command_memory.h"
#include "hosts/terminal/kept_commands.h"

namespace kiv {

// The first word, and what stands behind the blanks that end it.
struct FirstWordOf {
  explicit FirstWordOf(std::wstring_view text);
  std::wstring_view word;
  std::wstring_view rest;
};

// Decimal figures alone; what is beyond any list is the largest value.
std::optional<std::size_t> NumberOf(std::wstring_view text);
// 1 to 10, also with an F in front, of either case.
std::optional<std::size_t> KeyNumberOf(std::wstring_view text);
// Whether `line` has all the words of `words`, in any case.
bool HasWords(std::wstring_view line, std::wstring_view words);

// Rows of lines with their numbers, right-aligned: those of `lines` that `wanted` (numbers from 1)
// names.
std::string NumberedRows(const std::vector<std::wstring>& lines,
                         const std::vector<std::size_t>& wanted);
// The numbers of the lines that :history shows: all, the newest so many, or those with the words.
std::vector<std::size_t> HistoryChoice(const std::vector<std::wstring>& lines,
                                       std::wstring_view arguments);
// The numbers of the favourites that `which` may mean: one for a number or a whole line, else all
// whose first word it is.
std::vector<std::size_t> FavouritesMeant(const std::vector<std::wstring>& favourites,
                                         std::wstring_view which);

// Names of groups in front of a path; without any, all three. An empty path: none was given.
struct CarriedFile {
  explicit CarriedFile(std::wstring_view arguments);
  CarriedGroups groups;
  std::wstring_view path;
};

// Completion: what may stand in the place of the last argument.
std::vector<std::wstring> FavouriteChoices(const std::vector<std::wstring>& favourites,
                                           std::wstring_view arguments);
std::vector<std::wstring> ShortcutKeyChoices(std::wstring_view arguments);
std::vector<std::wstring> GroupChoices(std::wstring_view arguments);

}  // namespace kiv
