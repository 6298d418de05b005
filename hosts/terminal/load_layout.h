// LoadLayout: what the catalogue's load command can carry, and what of a line is the file that it
// loads.
//
// Threads: any. Owns nothing. Errors: none; a command that cannot be asked carries nothing.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace kiv {

// Of the request of one command.
struct LoadLayout {
  std::uint64_t mostChunks = 0;  // that its index and count can tell; 0: it takes no chunk
  bool carriesLength = false;    // a field says how much of the data is the file's
};
LoadLayout LoadLayoutOf(std::uint32_t cmdId);

// The word that loads a file; the module takes it in capitals, too.
inline constexpr wchar_t kLoadWord[] = L"ldnv";
bool IsLoadWord(std::wstring_view word);
// What stands before and behind the first blanks of a line, as the module divides it.
std::wstring_view WordOf(std::wstring_view line);
std::wstring_view RestOf(std::wstring_view line);
// The path as it was typed; nothing for any other line.
std::optional<std::wstring> LoadPathOf(std::wstring_view line);

}  // namespace kiv
