// How many slips apart two words are.
//
// Threads: any; no state. Errors: throws std::bad_alloc only.
#pragma once

#include <cstddef>
#include <string_view>

namespace hostbench {

// Letters left out, put in, replaced, or swapped with the next, to come from one word to the other
// (no letter is touched twice); `most` + 1 for everything beyond `most`, which bounds the work.
std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t most);

}  // namespace hostbench
