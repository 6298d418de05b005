// A first word that is too long to be looked up: the module takes such a word for the whole line.
// A text channel then sends the word alone, and what stands behind it would be lost without a word.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <cstddef>
#include <string_view>

namespace kiv {

// The module's limits, in characters: a longer first word is taken alone, a longer line is taken
// whole again.
inline constexpr std::size_t kLongestWordChars = 80;
inline constexpr std::size_t kLongestLineChars = 16463;

// Whether a channel that takes the typed line gets its first word alone although more stands behind
// it. A line that begins with "at" stays whole.
bool IsRestLost(std::wstring_view typed);

}  // namespace kiv
