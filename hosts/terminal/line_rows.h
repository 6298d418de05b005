// Where a text ends on a terminal whose rows have a number of columns, as readline draws it: wide
// characters take two columns and never stand across two rows, combining ones none, control
// characters two ("^A"), a tab up to the next eighth column. What stands between \001 and \002 (the
// marks around colours in a prompt) takes none.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <string_view>

namespace kiv {

struct LinePosition {
  int row = 0;
  int column = 0;
  bool operator==(const LinePosition&) const = default;
};

// Of the cursor behind `text`, which begins in the first column of row 0.
LinePosition PositionBehind(std::string_view text, int columns);

// Whether the terminal lays rows that were too long out anew when its width changes, by what the
// environment says of its kind.
bool TerminalReflows();

}  // namespace kiv
