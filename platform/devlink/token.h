// The token that a TCP link begins with (docs/wire-format.md 13).
//
// Threads: pure, but for the file. Errors: ReadTokenFile answers a reason for a person, one line.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace devlink {

inline constexpr std::size_t kShortestTokenBytes = 16;
inline constexpr std::size_t kLongestTokenBytes = 64;

// The token in the first line of a file's content; nothing when that line is none.
std::optional<std::string_view> TokenIn(std::string_view content);

// The first bytes of the connection.
std::vector<std::uint8_t> TokenPreamble(std::string_view token);

// The token of a file of mode 0600 or 0400. Empty: `problem` says why.
std::string ReadTokenFile(const std::string& path, std::string& problem);

}  // namespace devlink
