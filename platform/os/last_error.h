// The last error of the named services, per thread, and the system's error numbers as Windows
// codes.
//
// Threads: any; each has its own. Errors: none.
#pragma once

#include <cstdint>

namespace os {
void SetLastErrorCode(std::uint32_t code);
// The code of an errno value; ERROR_GEN_FAILURE (31) for one without a counterpart.
std::uint32_t WindowsCodeOf(int errorNumber);
// Sets the last error from `errorNumber`.
void SetLastErrorFrom(int errorNumber);
}  // namespace os
