// The rows below which a half-typed line stands when what it may become is listed.
//
// Threads: any; no state. Errors: none.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "hosts/bench/field_help.h"

namespace hostbench {

// Where they are shown.
struct ListRoom {
  std::size_t columns = 80;  // cells of a row
  std::size_t rows = 24;     // at most so many
};

// One row a candidate with its note, where all fit and there are notes; else the candidates alone,
// in columns, read downwards; what does not fit, and what of `total` is no candidate, is counted:
// "and 312 more". Each row with a line feed, none wider than the room; UTF-8, fit for a terminal.
std::string CandidateRows(const std::vector<FieldCandidate>& candidates, std::size_t total,
                          ListRoom room);

}  // namespace hostbench
