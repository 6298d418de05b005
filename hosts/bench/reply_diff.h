// ReplyDiff: which fields differ between two replies of one command, by their values and not by
// their texts: what the user's settings make of a number (hexadecimal, arrays on one line, types)
// has no say in what counts as changed.
//
// Threads: any; no state. Owns its texts.
// Errors: CompareReplies answers a status of result_codes.h, and says nothing of the fields then.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "hosts/bench/parameter_shape.h"

namespace hostbench {

// One value that is not what it was.
struct FieldChange {
  std::wstring path;    // "a.b[2].c", of an array's element with its index
  std::wstring before;  // a decimal number; of characters what they read, between quotes
  std::wstring after;
  bool operator==(const FieldChange&) const = default;
};

struct ReplyChanges {
  // So many are described; more only count.
  static constexpr std::size_t kMaxFields = 1000;

  std::vector<FieldChange> fields;  // in the order of the fields
  std::size_t count = 0;            // of all
};

// Of two trees of one layout.
ReplyChanges CompareShapes(const ParameterShape& before, const ParameterShape& after);

// Two confirmations' bodies, read by the catalogue that the process works with.
std::uint32_t CompareReplies(std::uint32_t cmdId, std::span<const std::uint8_t> before,
                             std::span<const std::uint8_t> after, ReplyChanges& changes);

}  // namespace hostbench
