// Text as it may go to a terminal: what came from a device is never written raw.
//
// Control characters (C0 but line feed and tab, DEL, C1) are shown as "\x1b"; the backslash itself stays as it is,
// since paths are full of them. The same is written to a pipe, so a captured text equals the shown one.
//
// Threads: any; no state.
#pragma once

#include <string>
#include <string_view>

namespace kiv {

// UTF-8 of a wide text, escaped.
std::string ShownText(std::wstring_view text);
// Escapes a text that is UTF-8 already; broken parts become U+FFFD.
std::string ShownUtf8(std::string_view text);

}  // namespace kiv
