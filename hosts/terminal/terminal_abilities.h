// What the system's database of terminals says of one kind.
//
// Threads: the main thread; the database's library keeps the terminal it was asked for last, which
// is left as it was. Errors: an unknown kind can do nothing.
#pragma once

#include <string>

#include "hosts/terminal/line_colours.h"

namespace kiv {

TerminalAbilities ReadTerminalAbilities(const std::string& kind);

}  // namespace kiv
