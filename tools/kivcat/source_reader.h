// Reads the JSON of a catalogue source into values that know their place.
//
// Threads: any. Owns nothing. Errors: told to `faults`; the answer is then false.
#pragma once

#include <string_view>

#include "tools/kivcat/faults.h"
#include "tools/kivcat/source_value.h"

namespace kivcat {

// Lists and objects nest at most this deep.
inline constexpr std::uint32_t kMaxSourceNesting = 64;

// A key that stands twice in one object is a fault, too.
bool ReadSource(std::string_view json, SourceValue& root, Faults& faults);

}  // namespace kivcat
