// What a terminal sends for a key, given as Qt's code with its modifier bits.
//
// Terminals differ: a key may come as one of several sequences, all of which are answered. What
// terminals cannot tell from something else is answered as nothing: characters that are typed,
// Ctrl with a digit, Ctrl+Shift with a letter, Meta, and what the system takes for itself (Ctrl-C,
// Ctrl-Z, Ctrl-\, Ctrl-S, Ctrl-Q).
//
// Threads: any; no state. Errors: none.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace hostbench {

// Empty where a terminal cannot send the key, or it cannot be told from another one.
std::vector<std::string> TerminalSequencesOf(std::int32_t keyCode);

}  // namespace hostbench
